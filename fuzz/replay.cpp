// Runs a fuzz target without libFuzzer: TARGET CORPUS FIXED runs every file of the two directories,
// then inputs that are made from those of the corpus, the same ones each time. An input that ends
// the process is written to the file replay-failed in the working directory.

#include <csignal>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <set>
#include <string>
#include <vector>

#include "fuzz/check.hpp"

namespace {

constexpr int made_inputs = 4000;
constexpr std::clock_t most_time = 2 * CLOCKS_PER_SEC;

std::string current;

void keep_current(int) { std::ofstream("replay-failed", std::ios::binary) << current; }

void run(std::string input) {
  current = std::move(input);
  LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(current.data()), current.size());
}

std::vector<std::string> inputs_in(const char* directory) {
  std::set<std::filesystem::path> paths;  // in the same order everywhere
  for (const auto& file : std::filesystem::directory_iterator(directory)) paths.insert(file.path());
  std::vector<std::string> inputs;
  for (const auto& path : paths) {
    std::ifstream file(path, std::ios::binary);
    inputs.emplace_back(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
  }
  return inputs;
}

// One of the corpus with a few bytes changed, cut out, repeated or taken from another one.
class Maker {
 public:
  explicit Maker(const std::vector<std::string>& corpus) : corpus_(corpus) {}

  std::string make() {
    std::string input = any_of_corpus();
    for (std::size_t edits = below(8); edits > 0; --edits) {
      const std::size_t at = below(input.size() + 1);
      const std::size_t count = below(8);
      const std::string& other = below(2) == 0 ? input : any_of_corpus();
      const std::string piece = other.substr(below(other.size() + 1), below(16));
      input.replace(at, below(3) == 0 ? 0 : count, below(2) == 0 ? piece : random(count));
    }
    return input;
  }

 private:
  std::size_t below(std::size_t count) { return static_cast<std::size_t>(bits_() % count); }
  const std::string& any_of_corpus() { return corpus_[below(corpus_.size())]; }
  std::string random(std::size_t count) {
    std::string bytes(count, ' ');
    for (char& byte : bytes) byte = static_cast<char>(bits_());
    return bytes;
  }

  const std::vector<std::string>& corpus_;
  std::mt19937_64 bits_{1};
};

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) return std::fprintf(stderr, "usage: TARGET CORPUS FIXED\n"), 2;
  const std::vector<std::string> corpus = inputs_in(argv[1]);
  if (corpus.empty()) return std::fprintf(stderr, "%s holds no inputs\n", argv[1]), 1;
  std::signal(SIGABRT, keep_current);
  for (const std::string& input : corpus) run(input);
  const std::vector<std::string> fixed = inputs_in(argv[2]);
  for (const std::string& input : fixed) run(input);
  Maker maker(corpus);
  int made = 0;
  for (; made < made_inputs && std::clock() < most_time; ++made) run(maker.make());
  std::printf("%zu of the corpus, %zu fixed, %d made\n", corpus.size(), fixed.size(), made);
}
