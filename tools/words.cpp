// kestrane_words: the words of the language as the program's own dictionaries hold them, in JSON on
// standard output. tools/editor-data makes the editors' files from it.

#include <cxxabi.h>

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <string>
#include <typeinfo>
#include <vector>

#include "expt/ExptHeads.h"
#include "fluid/Compnent.h"
#include "fluid/Library.h"
#include "input/KeyCensus.h"
#include "input/Table.h"
#include "input/Units.h"

namespace {

using namespace kestrane;

/// A JSON string of a text.
std::string quoted(const std::string& text) {
    std::string result = "\"";
    for (const char c : text) {
        if (c == '"' || c == '\\') result += '\\';
        result += c;
    }
    return result + '"';
}

std::string list(const std::vector<std::string>& items, bool quote = true) {
    std::string result;
    for (const std::string& item : items) {
        if (!result.empty()) result += ", ";
        result += quote ? quoted(item) : item;
    }
    return "[" + result + "]";
}

/// Prints a member of the outermost object whose value is a list of objects, each on its line.
void print_member(const char* name, const std::vector<std::string>& objects, const char* end) {
    std::cout << "  " << quoted(name) << ": [\n";
    for (std::size_t i = 0; i < objects.size(); ++i)
        std::cout << "    " << objects[i] << (i + 1 < objects.size() ? ",\n" : "\n");
    std::cout << "  ]" << end << "\n";
}

std::string type_name(const CmdKey& key) {
    int status = 0;
    const std::unique_ptr<char, decltype(&std::free)> text(
        abi::__cxa_demangle(typeid(key).name(), nullptr, nullptr, &status), &std::free);
    return status == 0 ? text.get() : typeid(key).name();
}

/// Where the first of a type's template arguments ends: at the first comma outside brackets.
std::size_t first_argument_end(const std::string& text, std::size_t start) {
    int depth = 0;
    for (std::size_t at = start; at < text.size(); ++at) {
        if (text[at] == '<' || text[at] == '(') ++depth;
        if (text[at] == '>' || text[at] == ')') --depth;
        if (depth == 0 && text[at] == ',') return at;
    }
    return text.size();
}

/// A keyword with the type that accepts it and the type of the command that it makes, which in turn
/// accepts the keywords of its block. A keyword is a UserKey<U, D>: U accepts it, and UserCmd<U, D>
/// is its command.
std::string keyword_object(const CmdKey& key) {
    const std::string type = type_name(key);
    const std::size_t open = type.find('<') + 1;
    const std::string arguments = type.substr(open, type.rfind('>') - open);
    const std::string user = arguments.substr(0, first_argument_end(arguments, 0));
    return "{\"aliases\": " + list(key.aliases) + ", \"user\": " + quoted(user) +
           ", \"command\": " + quoted("kestrane::UserCmd<" + arguments + ">") + "}";
}

std::vector<std::string> keyword_objects() {
    std::vector<std::string> objects;
    for (const CmdKey* key : registered_keys()) objects.push_back(keyword_object(*key));
    std::sort(objects.begin(), objects.end());
    return objects;
}

std::vector<std::string> unit_objects() {
    std::vector<std::string> objects;
    for (int kind = 0; kind < static_cast<int>(UnitKind::Count); ++kind) {
        const UnitSet& set = unit_set(static_cast<UnitKind>(kind));
        std::vector<std::string> names;
        for (const Units* unit : set.units()) names.push_back(unit->name());
        objects.push_back("{\"kind\": " + quoted(set.name()) + ", \"default\": " +
                          quoted(set.default_unit().name()) + ", \"units\": " + list(names) + "}");
    }
    return objects;
}

std::vector<std::string> column_objects(const HeadDictionary& dictionary) {
    std::vector<std::string> objects;
    for (const AnyColHead* head : dictionary.heads()) {
        objects.push_back("{\"title\": " + quoted(head->BestName(-1)) +
                          ", \"keywords\": " + list(head->keywords) + ", \"units\": " +
                          quoted(head->unitSet ? head->unitSet->name() : std::string()) + "}");
    }
    return objects;
}

std::vector<std::string> substance_objects() {
    std::vector<std::string> objects;
    for (const LibraryEntry& entry : library_entries()) {
        std::vector<std::string> names;
        for (const char* alias : entry.aliases)
            if (alias) names.emplace_back(alias);
        objects.push_back("{\"name\": " + quoted(entry.full_name) +
                          ", \"aliases\": " + list(names) + "}");
    }
    return objects;
}

}  // namespace

int main() {
    std::cout << "{\n  \"version\": " << quoted(KESTRANE_VERSION) << ",\n";
    print_member("keywords", keyword_objects(), ",");
    print_member("units", unit_objects(), ",");
    print_member("component_columns", column_objects(component_heads()), ",");
    print_member("experiment_columns", column_objects(ExptHeads::expansion().dictionary()), ",");
    print_member("segregation_columns", column_objects(ExptHeads::segregation().dictionary()), ",");
    print_member("substances", substance_objects(), "");
    std::cout << "}\n";
    return std::cout.good() ? 0 : 1;
}
