#pragma once

#include <string>
#include <utility>
#include <vector>

#include "input/Keyword.h"

namespace kestrane {

/// Values under user names, compared as keywords are. Names may end in "&" and then answer to any
/// tail, so this is a list searched in order, not an ordered map.
template <class T>
class NamedTable {
public:
    /// The value of that very name, else the first whose name matches, or null.
    T* find(const std::string& name) {
        T* first = nullptr;
        for (auto& [key, value] : entries_) {
            if (KeyCompare(key, name) != 0) continue;
            if (key.size() == name.size()) return &value;
            if (!first) first = &value;
        }
        return first;
    }
    const T* find(const std::string& name) const {
        return const_cast<NamedTable*>(this)->find(name);
    }
    /// Replaces the value of a matching name, or appends.
    T& set(const std::string& name, T value) {
        if (T* old = find(name)) return *old = std::move(value);
        return entries_.emplace_back(name, std::move(value)).second;
    }
    /// Replaces the value of that very name, or appends: a name of its own beside one that ends in
    /// "&" and would answer to it.
    T& set_exact(const std::string& name, T value) {
        for (auto& [key, old] : entries_)
            if (key.size() == name.size() && KeyCompare(key, name) == 0)
                return old = std::move(value);
        return entries_.emplace_back(name, std::move(value)).second;
    }
    void clear() { entries_.clear(); }
    const std::vector<std::pair<std::string, T>>& entries() const { return entries_; }

private:
    std::vector<std::pair<std::string, T>> entries_;
};

}  // namespace kestrane
