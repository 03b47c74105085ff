// Runs a fuzz target without libFuzzer: TARGET CORPUS FIXED runs every file of both directories,
// then inputs that are made from them, the same ones each time. An input that ends the process is
// written to the file replay-failed.

#include <algorithm>
#include <csignal>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
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
  std::vector<std::string> inputs;
  for (const auto& entry : std::filesystem::directory_iterator(directory)) {
    std::ifstream file(entry.path(), std::ios::binary);
    inputs.emplace_back(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
  }
  std::sort(inputs.begin(), inputs.end());  // in the same order everywhere
  return inputs;
}

// One of the inputs with a few bytes changed, cut out, repeated or taken from another one.
std::string made_from(const std::vector<std::string>& inputs, std::mt19937_64& bits) {
  const auto below = [&bits](std::size_t count) {
    return static_cast<std::size_t>(bits() % count);
  };
  std::string input = inputs[below(inputs.size())];
  for (std::size_t edits = below(8); edits > 0; --edits) {
    const std::string& other = below(2) == 0 ? input : inputs[below(inputs.size())];
    std::string piece = other.substr(below(other.size() + 1), below(16));
    if (below(2) == 0) piece = static_cast<char>(bits());
    input.replace(below(input.size() + 1), below(3) == 0 ? 0 : below(8), piece);
  }
  return input;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) return std::fprintf(stderr, "usage: TARGET CORPUS FIXED\n"), 2;
  std::vector<std::string> inputs = inputs_in(argv[1]);
  if (inputs.empty()) return std::fprintf(stderr, "%s holds no inputs\n", argv[1]), 1;
  const std::vector<std::string> fixed = inputs_in(argv[2]);
  inputs.insert(inputs.end(), fixed.begin(), fixed.end());
  std::signal(SIGABRT, keep_current);
  for (const std::string& input : inputs) run(input);
  std::mt19937_64 bits(1);
  int made = 0;
  for (; made < made_inputs && std::clock() < most_time; ++made) run(made_from(inputs, bits));
  std::printf("%zu inputs, %d made of them\n", inputs.size(), made);
}
