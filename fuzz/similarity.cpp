// How alike names are, and the nearest of many, against the plain rules. The first two bytes are
// the cutoff and how often the given name is repeated; lines follow: it, then the candidates.

#include "text/similarity.hpp"

#include "fuzz/bytes.hpp"
#include "fuzz/check.hpp"
#include "fuzz/plain_similarity.hpp"
#include "unicode/utf8.hpp"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace tool_binding;
  Bytes bytes(data, size);
  const double cutoff = static_cast<double>(bytes.below(11)) / 10;
  const std::size_t times = bytes.below(8);
  std::vector<std::string> lines;
  for (std::string_view rest = bytes.take(1000); !rest.empty() && lines.size() < 9;) {
    const std::size_t end = std::min(rest.find('\n'), rest.size());
    lines.emplace_back(rest.substr(0, std::min<std::size_t>(end, 250)));  // cubic time
    rest.remove_prefix(std::min(end + 1, rest.size()));
  }
  if (lines.empty()) return 0;
  std::string given = lines[0];
  for (std::size_t i = 0; i < times && given.size() < 250; ++i) given += lines[0];

  NearestName nearest(given, cutoff);
  std::pair<double, std::u32string> best = {cutoff, U""};
  for (std::size_t i = 1; i < lines.size(); ++i) {
    const std::u32string name = code_points(lines[i]);
    const double plain = plain_similarity(name, code_points(given));
    check(similarity(lines[i], given) == plain, "similarity", lines[i], given, plain);
    // It must be the greatest cutoff itself: no upper bound may reject too early.
    for (const double limit : {plain, std::nextafter(plain, 2)}) {
      NearestName alone(given, limit);
      alone.offer(lines[i]);
      check(alone.best().has_value() == (limit == plain), "cutoff", lines[i], given, plain);
    }
    nearest.offer(lines[i]);
    best = std::max(best, {plain, name});
  }
  check(code_points(nearest.best().value_or("")) == best.second, "the nearest", given);
  check(nearest.best_similarity() == best.first, "its similarity", given, best.first);
  return 0;
}
