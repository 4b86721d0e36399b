// Prints the keywords of the program, its units and the heads of its tables, one quoted token a
// line, as libFuzzer takes them.

#include <cctype>
#include <iostream>
#include <set>
#include <string>

#include "input/SampleTable.h"
#include "input/Units.h"
#include "input/UserCmd.h"
#include "lab/EOSLab.h"

namespace kestrane {
namespace {

class TokenList {
public:
    /// The word a script writes for an alias, whose final "&" matches any tail.
    void add(std::string word) {
        if (!word.empty() && word.back() == '&') word.pop_back();
        std::string quoted;
        for (const char c : word) {
            if (!std::isprint(static_cast<unsigned char>(c))) return;
            if (c == '"' || c == '\\') quoted += '\\';
            quoted += c;
        }
        if (!quoted.empty()) tokens_.insert(quoted);
    }
    template <class T>
    void add_keys(const KeyDictionary<T>& dictionary) {
        for (const auto& entry : dictionary.entries()) add(entry.first);
    }
    void print() const {
        for (const std::string& token : tokens_) std::cout << '"' << token << "\"\n";
    }

private:
    std::set<std::string> tokens_;
};

}  // namespace
}  // namespace kestrane

int main() {
    using namespace kestrane;
    TokenList list;
    list.add_keys(dictionary_of<Key_User>());
    list.add_keys(dictionary_of<EOS_User>());
    list.add_keys(dictionary_of<Charzation>());
    list.add_keys(dictionary_of<Charz_User>());
    list.add_keys(dictionary_of<EOSLab>());
    for (const AnyColHead* head : testing::heads().all.heads())
        for (const std::string& word : head->keywords) list.add(word);
    for (const char* word :
         {"psia", "bar", "kPa", "F",     "C",  "K",     "R",       "-",   "--", "/", "*",
          "END",  "C1",  "CO2", "N-C10", "AF", "1e999", "-1e-320", "NaN", "\t", "3*"})
        list.add(word);
    list.print();
}
