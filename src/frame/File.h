#pragma once

#include <fstream>
#include <istream>
#include <limits>
#include <ostream>
#include <string>
#include <string_view>

#include "frame/PtrTo.h"

namespace kestrane {

/// A path, split into its parts. Names are joined by text: the process's directory never changes.
class File {
public:
    File() = default;
    virtual ~File() = default;

    /// Normalises `path`, against `baseDirectory` if it is relative.
    void SetPath(std::string_view path, std::string_view baseDirectory = {});
    /// Resolves `path` against the file's directory; later relative names start from the result.
    void ChangeDirectory(std::string_view path);
    /// A name beside this file's with another extension: FLUID.DAT and "Out" give FLUID.OUT. The
    /// letter case of the extension follows that of the stem.
    std::string DefaultName(std::string_view extension) const;
    /// True if both names lead to one existing file, by whatever spelling or link. Never throws.
    bool sameFile(const File& other) const;

    DynPtr<std::string> fullName;  ///< null for a standard stream
    std::string directory;         ///< with the drive; "/" for the root, empty for the start
    std::string name;              ///< with extension
    std::string drive;             ///< "X:" or empty
};

/// A file with a stream buffer of its own, or on a buffer of somebody else's.
class IOFile : public File {
public:
    bool isOpen() const;
    /// True if both write to or read from the same stream buffer.
    bool sharesStream(const IOFile& other) const {
        return stream_buffer() == other.stream_buffer();
    }

protected:
    IOFile() = default;
    explicit IOFile(std::streambuf& shared) : shared_(&shared) {}
    std::streambuf* stream_buffer() const;
    /// Opens the stored path; false if it names nothing that can be opened.
    bool open(std::ios_base::openmode mode);

    std::filebuf buffer_;
    std::streambuf* shared_ = nullptr;  ///< not owned; null when buffer_ is in use
};

class InFile : public IOFile, public std::istream {
public:
    InFile();
    /// On a stream that lives elsewhere: standard input, or text in memory.
    explicit InFile(std::streambuf& shared);
    /// Opens the stored path for binary reading. A directory does not open. Never throws.
    bool OpenRead();
    /// True if what looked like the end of the stream was a failure to read it. The C library tells
    /// for standard input; other streams throw.
    bool readFailed() const;
    /// Lets the user choose an existing file and opens it. False if the user cancels.
    bool OpenDialog(std::string_view title);

    char lineEnd = 0;   ///< line terminator seen so far
    int prompting = 0;  ///< whether a prompt is written before each line
};

class OutFile : public IOFile, public std::ostream {
public:
    OutFile();
    explicit OutFile(std::streambuf& shared);
    /// Opens the stored path for binary writing, truncating what exists. Never throws.
    bool OpenWrite();
    /// Lets the user choose a file to write and opens it; "@" takes the console. `templateFile`
    /// (may be null) gives the folder and the stem of the name proposed, see propose_save. False
    /// if the user cancels.
    bool SaveDialog(std::string_view title, std::string_view extension, const File* templateFile);

    /// Whether output reaches this file now.
    bool active() const { return minimumLevel <= printLevel && isOpen(); }

    unsigned lineWidth = std::numeric_limits<unsigned>::max();
    int pageBreakPending = 0;
    int pendingBlankLines = 0;
    int printLevel = 2147483647;
    int minimumLevel = 0;
};

}  // namespace kestrane
