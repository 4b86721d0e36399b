#include "frame/Platform.h"

#include <array>
#include <chrono>
#include <csignal>

#ifdef _WIN32
#include <io.h>
#else
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#endif

namespace kestrane {

bool is_terminal(std::FILE* stream) {
#ifdef _WIN32
    return _isatty(_fileno(stream)) != 0;
#else
    return isatty(fileno(stream)) != 0;
#endif
}

bool receives_output([[maybe_unused]] const std::string& path) {
#ifndef _WIN32
    struct stat named {};
    if (stat(path.c_str(), &named) != 0 || !S_ISREG(named.st_mode)) return false;
    for (const int number : {STDOUT_FILENO, STDERR_FILENO}) {
        struct stat stream {};
        if (fstat(number, &stream) == 0 && stream.st_dev == named.st_dev &&
            stream.st_ino == named.st_ino)
            return true;
    }
#endif
    return false;
}

std::uint32_t clock_ticks() {
    using namespace std::chrono;
    const auto now = steady_clock::now().time_since_epoch();
    return static_cast<std::uint32_t>(duration_cast<milliseconds>(now).count());
}

void line_buffered(std::FILE* stream) {
    // The C library uses these until the process ends.
    static std::array<std::array<char, 4096>, 2> buffers;
    auto& buffer = buffers[stream == stdout ? 0 : 1];
    std::setvbuf(stream, buffer.data(), _IOLBF, buffer.size());
}

void prepare_process() {
#ifndef _WIN32
    std::signal(SIGPIPE, SIG_IGN);
    for (int number = STDIN_FILENO; number <= STDERR_FILENO; ++number) {
        const bool closed = fcntl(number, F_GETFD) == -1 && errno == EBADF;
        // The lowest free number is the one just found. Read-only, so that writes fail.
        if (closed && open("/dev/null", O_RDONLY) == -1) return;
    }
#endif
}

}  // namespace kestrane
