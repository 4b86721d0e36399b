#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace kestrane {

/// A set of bytes as 256 bits. Classes of characters are those of ASCII, whatever the locale: bytes
/// 128 to 255 belong to none of them.
class CharSet {
public:
    constexpr CharSet() = default;
    constexpr explicit CharSet(std::string_view members) {
        for (const char c : members) set(static_cast<unsigned char>(c), true);
    }

    constexpr bool contains(unsigned char c) const { return (bits_[c / 64u] >> (c % 64u)) & 1u; }
    constexpr CharSet with(const CharSet& other) const {
        CharSet result = *this;
        for (std::size_t i = 0; i < bits_.size(); ++i) result.bits_[i] |= other.bits_[i];
        return result;
    }
    constexpr CharSet without(std::string_view members) const {
        CharSet result = *this;
        for (const char c : members) result.set(static_cast<unsigned char>(c), false);
        return result;
    }
    /// All bytes from `first` to `last`, both included.
    static constexpr CharSet range(unsigned char first, unsigned char last) {
        CharSet result;
        for (unsigned c = first; c <= last; ++c) result.set(static_cast<unsigned char>(c), true);
        return result;
    }

private:
    constexpr void set(unsigned char c, bool on) {
        const std::uint64_t bit = std::uint64_t{1} << (c % 64u);
        bits_[c / 64u] = on ? bits_[c / 64u] | bit : bits_[c / 64u] & ~bit;
    }

    std::array<std::uint64_t, 4> bits_{};
};

inline constexpr CharSet Punctuation = CharSet::range(33, 47)
                                           .with(CharSet::range(58, 64))
                                           .with(CharSet::range(91, 96))
                                           .with(CharSet::range(123, 126));

/// Blanks and control characters.
inline constexpr CharSet BlankSet = CharSet::range(0, 32).with(CharSet::range(127, 127));
/// What may stand between words and numbers.
inline constexpr CharSet SkipSet = BlankSet.with(Punctuation.without("+-._?~%"));
/// What may stand before a quoted text.
inline constexpr CharSet QuoteSkipSet = SkipSet.without("'\"\t");
inline constexpr CharSet WordEndSet = SkipSet.without("*#/");
inline constexpr CharSet NumberEndSet = BlankSet.with(Punctuation.without("+-.*"));
inline constexpr CharSet SeparatorSet{",=:@&|"};
/// A line that begins with one of these is a comment.
inline constexpr CharSet CommentLineSet{"*#;:!"};
/// A line that begins with two of one of these is a comment.
inline constexpr CharSet DoubledCommentSet{"-="};

/// ASCII upper case, whatever the locale.
constexpr char ascii_upper(char c) {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}

inline std::string upper_case(std::string_view text) {
    std::string result(text);
    for (char& c : result) c = ascii_upper(c);
    return result;
}

}  // namespace kestrane
