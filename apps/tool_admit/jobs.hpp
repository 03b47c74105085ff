#ifndef TOOL_BINDING_TOOL_ADMIT_JOBS_HPP_
#define TOOL_BINDING_TOOL_ADMIT_JOBS_HPP_

// Blocks of lines worked on by several threads, with the order kept.

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>

#include "blocks.hpp"

namespace tool_binding::tool_admit {

// Works on one block: replaces `out` by what is to be written for it.
using BlockWork = std::function<void(std::string_view block, std::string& out)>;

// Hands each block of `reader` to one of `jobs` workers, each of which `make_work` made for a
// thread of its own, and what it answers to `write`, in the blocks' order; without a `write` no
// worker waits for its turn. The caller is one of the workers. Memory: `jobs` blocks with their
// answers. What any of them throws ends all, and is thrown once no other thread runs any more; if
// it is the reader, the blocks before are written first.
void work_on_blocks(BlockReader& reader, std::size_t jobs,
                    const std::function<BlockWork()>& make_work,
                    const std::function<void(std::string_view)>& write);

}  // namespace tool_binding::tool_admit

#endif  // TOOL_BINDING_TOOL_ADMIT_JOBS_HPP_
