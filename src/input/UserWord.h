#pragma once

#include <string>

#include "input/Keyword.h"

namespace kestrane {

/// A name as the user typed it, significant to nine characters. Prints cut to nine characters.
class UserWord {
public:
    UserWord() = default;
    UserWord(std::string typed);
    /// The typed text.
    const std::string& text() const { return text_; }
    /// The first nine characters, as printed.
    const std::string& shown() const { return shown_; }
    /// What it is compared by: nine characters, with "&" behind them if the word had more.
    const std::string& key() const { return key_; }
    bool empty() const { return text_.empty(); }
    /// True if `word` is this name, nine characters of both being significant.
    bool matches(const std::string& word) const;

private:
    std::string text_;
    std::string shown_;
    std::string key_;
};

inline bool operator==(const UserWord& a, const UserWord& b) {
    return KeyCompare(a.key(), b.key()) == 0;
}

/// A text read by NextQuote, compared exactly.
struct Quote {
    std::string text;
    bool operator==(const Quote&) const = default;
};

}  // namespace kestrane
