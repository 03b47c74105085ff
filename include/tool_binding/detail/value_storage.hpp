#ifndef TOOL_BINDING_DETAIL_VALUE_STORAGE_HPP_
#define TOOL_BINDING_DETAIL_VALUE_STORAGE_HPP_

// The bytes of a Value, and which C++ types are integers to it. Private: include value.hpp.

#include <array>
#include <bit>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string_view>

namespace tool_binding::detail {

template <class T>
concept CharacterType = std::same_as<T, char> || std::same_as<T, wchar_t> ||
    std::same_as<T, char8_t> || std::same_as<T, char16_t> || std::same_as<T, char32_t>;

template <class T>
concept IntegerType = std::integral<T> && !std::same_as<T, bool> && !CharacterType<T>;

// What the layout assumes of a platform.
static_assert(sizeof(void*) == sizeof(std::uint64_t), "a pointer has 64 bits");
static_assert(std::endian::native == std::endian::little || std::endian::native == std::endian::big,
              "bytes are in one of the two usual orders");
static_assert(std::numeric_limits<double>::is_iec559 && sizeof(double) == sizeof(std::uint64_t),
              "a float has the 64 bits of IEEE 754");

// Eight bytes of content and a tag, or a text of up to 15 bytes and a tag.
class ValueStorage {
 protected:
  // The tag is the last byte; from inline_text on it counts the bytes of the text as well,
  // whose unused bytes are zero. A text that fits is always inline, so equal texts look alike.
  enum class Tag : unsigned char {
    none,
    boolean,
    small_integer,
    float_,
    big_integer,
    heap_text,
    list,
    mapping,
    object,
    inline_text = 16,
  };
  using Words = std::array<std::uint64_t, 2>;
  static constexpr std::size_t inline_capacity = 15;
  static constexpr std::size_t payload_size = sizeof(std::uint64_t);
  // From the low byte of the second word to the last byte.
  static constexpr int tag_shift = std::endian::native == std::endian::little ? 56 : 0;

  [[nodiscard]] Tag tag() const noexcept { return static_cast<Tag>(bytes_[inline_capacity]); }
  [[nodiscard]] bool owns_heap() const noexcept {
    return tag() >= Tag::big_integer && tag() <= Tag::object;
  }
  // Equal to another value exactly when all bytes are equal.
  [[nodiscard]] bool is_plain() const noexcept {
    return tag() >= Tag::inline_text || tag() <= Tag::small_integer;
  }
  [[nodiscard]] Words words() const noexcept { return std::bit_cast<Words>(bytes_); }
  [[nodiscard]] static bool same(const Words& left, const Words& right) noexcept {
    return ((left[0] ^ right[0]) | (left[1] ^ right[1])) == 0;
  }
  [[nodiscard]] static bool same_bytes(const ValueStorage& left,
                                       const ValueStorage& right) noexcept {
    return same(left.words(), right.words());
  }
  // Precondition: the tag is that of an inline text.
  [[nodiscard]] std::string_view inline_text() const noexcept {
    return {bytes_.data(),
            static_cast<std::size_t>(tag()) - static_cast<std::size_t>(Tag::inline_text)};
  }
  template <class T>
  [[nodiscard]] T payload() const noexcept {
    T content;
    std::memcpy(&content, bytes_.data(), payload_size);
    return content;
  }
  template <class T>
  void set_payload(Tag tag, T content) noexcept {
    static_assert(sizeof(T) == payload_size);
    bytes_ = joined(
        {std::bit_cast<std::uint64_t>(content), static_cast<std::uint64_t>(tag) << tag_shift});
  }
  // Two words as the bytes of a value, to be stored at once: values are copied as a whole, and the
  // processor waits where it reads at once what was just written in parts.
  [[nodiscard]] static std::array<char, 16> joined(const Words& words) noexcept {
    using Vector [[gnu::vector_size(16)]] = std::uint64_t;
    return std::bit_cast<std::array<char, 16>>(Vector{words[0], words[1]});
  }
  // Text of up to 15 bytes, zeros and its tag. It is put together in registers from loads of fixed
  // size that may overlap, which is several times faster than a copy of variable size.
  [[nodiscard]] static Words inline_words(std::string_view text) noexcept {
    const std::size_t size = text.size();
    const std::uint64_t tag = static_cast<std::uint64_t>(Tag::inline_text) + size;
    if constexpr (std::endian::native != std::endian::little) {
      std::array<char, 16> bytes = {};
      for (std::size_t i = 0; i < size; ++i) bytes[i] = text[i];
      bytes[inline_capacity] = static_cast<char>(tag);
      return std::bit_cast<Words>(bytes);
    }
    const auto load = [&text]<class Word>(std::size_t position, Word word) -> std::uint64_t {
      std::memcpy(&word, text.data() + position, sizeof word);
      return word;
    };
    std::uint64_t first = 0;
    std::uint64_t second = tag << tag_shift;
    if (size > 8) {
      first = load(0, std::uint64_t{});
      second |= load(size - 8, std::uint64_t{}) >> (8 * (16 - size));
    } else if (size >= 4) {
      first = load(0, std::uint32_t{}) | load(size - 4, std::uint32_t{}) << (8 * (size - 4));
    } else if (size > 0) {
      first = load(0, std::uint8_t{}) | load(size / 2, std::uint8_t{}) << (8 * (size / 2)) |
              load(size - 1, std::uint8_t{}) << (8 * (size - 1));
    }
    return {first, second};
  }

  alignas(std::uint64_t) std::array<char, 16> bytes_ = {};
};

}  // namespace tool_binding::detail

#endif  // TOOL_BINDING_DETAIL_VALUE_STORAGE_HPP_
