#include "scripts/ScriptWords.h"

#include <sstream>

namespace kestrane {

void add_words(const std::string& script, std::set<std::string>& words) {
    std::istringstream text(script);
    for (std::string line; std::getline(text, line);) {
        if (line.rfind("--", 0) == 0) continue;
        for (char& c : line)
            if (c == '(' || c == ')' || c == '=' || c == ',') c = ' ';
        std::istringstream parts(line);
        for (std::string word; parts >> word;) words.insert(word);
    }
}

}  // namespace kestrane
