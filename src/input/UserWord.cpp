#include "input/UserWord.h"

#include <utility>

namespace kestrane {

namespace {

constexpr std::size_t SIGNIFICANT = 9;

}  // namespace

UserWord::UserWord(std::string typed)
    : text_(std::move(typed)), shown_(text_.substr(0, SIGNIFICANT)), key_(shown_) {
    if (text_.size() > SIGNIFICANT) key_ += '&';
}

bool UserWord::matches(const std::string& word) const {
    return *this == UserWord(word);
}

}  // namespace kestrane
