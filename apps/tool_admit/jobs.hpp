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
// worker waits for its turn. With one job nothing runs beside the caller. Memory: `jobs` blocks
// with their answers, and as many that wait. What any of them throws ends all, and is thrown once
// no thread runs any more.
void work_on_blocks(BlockReader& reader, std::size_t jobs,
                    const std::function<BlockWork()>& make_work,
                    const std::function<void(std::string_view)>& write);

}  // namespace tool_binding::tool_admit

#endif  // TOOL_BINDING_TOOL_ADMIT_JOBS_HPP_
