#include "frame/File.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <filesystem>
#include <iostream>
#include <system_error>
#include <vector>

namespace kestrane {

namespace {

#ifdef _WIN32
constexpr bool HAS_DRIVES = true;
#else
constexpr bool HAS_DRIVES = false;
#endif
constexpr std::string_view SEPARATORS = "/\\";
constexpr std::string_view JOINERS = "._ ";

bool is_separator(char c) {
    return SEPARATORS.find(c) != std::string_view::npos;
}

/// Length of a drive "X:" that a separator follows, else 0.
std::size_t drive_length(std::string_view path) {
    return path.size() > 2 && path[1] == ':' && is_separator(path[2]) ? 2 : 0;
}

bool is_absolute(std::string_view path) {
    return !path.empty() && (is_separator(path[0]) || drive_length(path) > 0);
}

/// The separator that all others in `path` are turned into. Only a platform with drives lets the
/// user choose; elsewhere the other character would not separate anything.
char separator_for(std::string_view path) {
    if (!HAS_DRIVES) return '/';
    const std::size_t at = path.find_first_of(SEPARATORS);
    return at == std::string_view::npos ? '\\' : path[at];
}

/// The names between the separators of `path`; the last one is empty if a separator ends it.
std::vector<std::string_view> split(std::string_view path, char separator) {
    std::vector<std::string_view> names;
    for (std::size_t start = 0;;) {
        const std::size_t end = path.find(separator, start);
        names.push_back(path.substr(start, end - start));
        if (end == std::string_view::npos) return names;
        start = end + 1;
    }
}

/// Drops "." and empty names inside the path and lets ".." remove the directory before it. A ".."
/// with no directory to remove stays: at the start of a relative path it leads out of the
/// directory that the path will be joined to. What stands before the first separator of an
/// absolute path (nothing, or a drive) and a double separator there are no directories.
std::vector<std::string_view> reduce(const std::vector<std::string_view>& names, bool absolute) {
    std::vector<std::string_view> kept;
    const std::size_t root = absolute ? 1 : 0;
    const bool network_share =
        HAS_DRIVES && names.size() > 3 && names[0].empty() && names[1].empty();
    for (std::size_t i = 0; i + 1 < names.size(); ++i) {
        const std::string_view name = names[i];
        const bool at_start = i < root || i == 0 || (network_share && i == 1);
        if (at_start) {
            kept.push_back(name);
        } else if (name == "..") {
            if (kept.size() > root && kept.back() == ".")
                kept.back() = name;
            else if (kept.size() > root && kept.back() != ".." && !kept.back().empty())
                kept.pop_back();
            else
                kept.push_back(name);
        } else if (name != "." && !name.empty()) {
            kept.push_back(name);
        }
    }
    kept.push_back(names.back());
    return kept;
}

std::string join(const std::vector<std::string_view>& names, char separator) {
    std::string path;
    for (std::size_t i = 0; i < names.size(); ++i) {
        if (i > 0) path += separator;
        path += names[i];
    }
    return path;
}

bool is_upper(char c) {
    return c >= 'A' && c <= 'Z';
}
bool is_lower(char c) {
    return c >= 'a' && c <= 'z';
}
char to_upper(char c) {
    return is_lower(c) ? static_cast<char>(c - 'a' + 'A') : c;
}
char to_lower(char c) {
    return is_upper(c) ? static_cast<char>(c - 'A' + 'a') : c;
}

}  // namespace

void File::SetPath(std::string_view path, std::string_view baseDirectory) {
    fullName = nullptr;
    directory.clear();
    name.clear();
    drive.clear();
    if (path.empty()) return;

    const char separator = separator_for(path);
    std::string full(path);
    if (!baseDirectory.empty() && !is_absolute(path)) {
        full = baseDirectory;
        if (!is_separator(full.back())) full += separator;
        full += path;
    }
    std::replace_if(full.begin(), full.end(), is_separator, separator);
    const bool absolute = is_absolute(full);
    full = join(reduce(split(full, separator), absolute), separator);

    drive = full.substr(0, drive_length(full));
    const std::size_t last = full.rfind(separator);
    if (last != std::string::npos) {
        // The root keeps its separator, or a name joined to it would become a relative one.
        const bool root = last == drive.size() && absolute;
        directory = full.substr(0, root ? last + 1 : last);
    }
    name = full.substr(last == std::string::npos ? 0 : last + 1);
    fullName = make_dyn<std::string>(std::move(full));
}

void File::ChangeDirectory(std::string_view path) {
    if (path.empty()) return;
    // The empty name after the last separator makes all of `path` a directory.
    File target;
    target.SetPath(std::string(path) + separator_for(path), directory);
    directory = target.directory;
    drive = target.drive;
}

std::string File::DefaultName(std::string_view extension) const {
    const std::size_t end = name.find_last_of(JOINERS);
    const std::string stem = name.substr(0, end);
    const char joiner = end == std::string::npos ? '.' : name[end];
    const bool has_upper = std::any_of(stem.begin(), stem.end(), is_upper);
    const bool has_lower = std::any_of(stem.begin(), stem.end(), is_lower);

    std::string result = stem + joiner;
    for (const char c : extension) {
        if (!has_upper)
            result += to_lower(c);
        else
            result += has_lower ? c : to_upper(c);
    }
    return result;
}

bool File::sameFile(const File& other) const {
    if (!fullName || !other.fullName) return false;
    std::error_code error;
    const bool same = std::filesystem::equivalent(*fullName, *other.fullName, error);
    return same && !error;
}

bool IOFile::isOpen() const {
    return shared_ || buffer_.is_open();
}

std::streambuf* IOFile::stream_buffer() const {
    return shared_ ? shared_ : const_cast<std::filebuf*>(&buffer_);
}

bool IOFile::open(std::ios_base::openmode mode) {
    buffer_.close();
    shared_ = nullptr;
    // A name with a zero byte in it would open whatever its first part names.
    if (!fullName || fullName->find('\0') != std::string::npos) return false;
    std::error_code error;
    if (std::filesystem::is_directory(*fullName, error)) return false;
    return buffer_.open(*fullName, mode | std::ios_base::binary) != nullptr;
}

InFile::InFile() : std::istream(stream_buffer()) {}

InFile::InFile(std::streambuf& shared) : IOFile(shared), std::istream(&shared) {}

bool InFile::OpenRead() {
    const bool opened = open(std::ios_base::in);
    rdbuf(stream_buffer());
    if (!opened) setstate(failbit);
    return opened;
}

bool InFile::readFailed() const {
    return shared_ == std::cin.rdbuf() && std::ferror(stdin) != 0;
}

OutFile::OutFile() : std::ostream(stream_buffer()) {}

OutFile::OutFile(std::streambuf& shared) : IOFile(shared), std::ostream(&shared) {}

bool OutFile::OpenWrite() {
    const bool opened = open(std::ios_base::out | std::ios_base::trunc);
    rdbuf(stream_buffer());
    if (!opened) setstate(failbit);
    return opened;
}

}  // namespace kestrane
