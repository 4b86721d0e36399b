#pragma once

#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "input/CharSet.h"
#include "input/Keyword.h"

namespace kestrane {

/// Values under user names, compared as keywords are. Names may end in "&" and then answer to any
/// tail: those are searched in order. All others are found by their spelling.
template <class T>
class NamedTable {
public:
    /// The value of that very name, else the first whose name matches, or null.
    T* find(const std::string& name) {
        if (T* same = find_exact(name)) return same;
        const bool any_tail = ends_in_tail(name);
        for (const std::size_t i : any_tail ? all_ : with_tail_)
            if (KeyCompare(entries_[i].first, name) == 0) return &entries_[i].second;
        return nullptr;
    }
    const T* find(const std::string& name) const {
        return const_cast<NamedTable*>(this)->find(name);
    }
    /// Replaces the value of a matching name, or appends.
    T& set(const std::string& name, T value) {
        if (T* old = find(name)) return *old = std::move(value);
        return append(name, std::move(value));
    }
    /// Replaces the value of that very name, or appends: a name of its own beside one that ends in
    /// "&" and would answer to it.
    T& set_exact(const std::string& name, T value) {
        if (T* old = find_exact(name)) return *old = std::move(value);
        return append(name, std::move(value));
    }
    void clear() {
        entries_.clear();
        by_spelling_.clear();
        with_tail_.clear();
        all_.clear();
    }
    const std::vector<std::pair<std::string, T>>& entries() const { return entries_; }

private:
    static bool ends_in_tail(const std::string& name) {
        return !name.empty() && name.back() == '&';
    }
    T* find_exact(const std::string& name) {
        const auto at = by_spelling_.find(upper_case(name));
        return at == by_spelling_.end() ? nullptr : &entries_[at->second].second;
    }
    T& append(const std::string& name, T value) {
        by_spelling_.emplace(upper_case(name), entries_.size());
        if (ends_in_tail(name)) with_tail_.push_back(entries_.size());
        all_.push_back(entries_.size());
        return entries_.emplace_back(name, std::move(value)).second;
    }

    std::vector<std::pair<std::string, T>> entries_;  ///< in order of arrival
    std::unordered_map<std::string, std::size_t> by_spelling_;
    std::vector<std::size_t> with_tail_, all_;  ///< places in entries_
};

}  // namespace kestrane
