// Loaded before the C library: one call on a file below a directory fails, the n-th of its kind, once or from then on.
//
//     LD_PRELOAD      this library
//     IO_FAULTS_BELOW the directory; a path that begins so counts
//     IO_FAULTS_KIND  write, sync, open or truncate
//     IO_FAULTS_AT    n, counted from 1; 0: none
//     IO_FAULTS_ERROR EIO, or ENOSPC, which only meets what makes a file longer
//     IO_FAULTS_STAY  1: every further call of the kind fails as well
//     IO_FAULTS_COUNT a file that gets the number of calls of the kind, when the process ends
#include <dlfcn.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <climits>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace {

const char* Setting(const char* name) {
    const char* value = std::getenv(name);
    return value ? value : "";
}

std::atomic<int> calls = 0;

bool IsBelow(const char* path) {
    const char* directory = Setting("IO_FAULTS_BELOW");
    return *directory && std::strncmp(path, directory, std::strlen(directory)) == 0;
}

bool IsBelow(int descriptor) {
    char link[64], path[PATH_MAX];
    std::snprintf(link, sizeof link, "/proc/self/fd/%d", descriptor);
    const ssize_t length = readlink(link, path, sizeof path - 1);
    if (length < 0) return false;
    path[length] = 0;
    return IsBelow(path);
}

// Counts the call; whether it is to fail, with errno set.
bool Strikes(const char* kind, bool makesLonger) {
    if (std::strcmp(Setting("IO_FAULTS_KIND"), kind) != 0) return false;
    const bool full = std::strcmp(Setting("IO_FAULTS_ERROR"), "ENOSPC") == 0;
    if (full && !makesLonger) return false;
    const int call = ++calls, at = std::atoi(Setting("IO_FAULTS_AT"));
    const bool strikes = at > 0 && (call == at || (call > at && *Setting("IO_FAULTS_STAY") == '1'));
    if (strikes) errno = full ? ENOSPC : EIO;
    return strikes;
}

bool EndsBeyond(int descriptor, off_t end) {
    struct stat status {};
    return fstat(descriptor, &status) == 0 && end > status.st_size;
}

template <class Function>
Function Real(const char* name) {
    return reinterpret_cast<Function>(dlsym(RTLD_NEXT, name));
}

struct Count {
    ~Count() {
        const char* file = Setting("IO_FAULTS_COUNT");
        if (!*file) return;
        if (std::FILE* stream = std::fopen(file, "w")) {
            std::fprintf(stream, "%d", calls.load());
            std::fclose(stream);
        }
    }
} count;

int Open(const char* name, const char* path, int flags, mode_t mode) {
    if (IsBelow(path) && (flags & O_ACCMODE) != O_RDONLY && Strikes("open", (flags & O_CREAT) != 0))
        return -1;
    static const auto real = Real<int (*)(const char*, int, ...)>(name);
    return real(path, flags, mode);
}

mode_t ModeOf(int flags, va_list arguments) {
    return (flags & O_CREAT) != 0 ? static_cast<mode_t>(va_arg(arguments, int)) : 0;
}

ssize_t Write(const char* name, int descriptor, const void* bytes, size_t size, off_t at) {
    if (IsBelow(descriptor) && Strikes("write", EndsBeyond(descriptor, at + static_cast<off_t>(size))))
        return -1;
    static const auto real = Real<ssize_t (*)(int, const void*, size_t, off_t)>(name);
    return real(descriptor, bytes, size, at);
}

int Sync(const char* name, int descriptor) {
    if (IsBelow(descriptor) && Strikes("sync", true)) return -1;
    return Real<int (*)(int)>(name)(descriptor);
}

int Truncate(const char* name, int descriptor, off_t size) {
    if (IsBelow(descriptor) && Strikes("truncate", EndsBeyond(descriptor, size))) return -1;
    static const auto real = Real<int (*)(int, off_t)>(name);
    return real(descriptor, size);
}

}  // namespace

extern "C" {

int open(const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = ModeOf(flags, arguments);
    va_end(arguments);
    return Open("open", path, flags, mode);
}
int open64(const char* path, int flags, ...) {
    va_list arguments;
    va_start(arguments, flags);
    const mode_t mode = ModeOf(flags, arguments);
    va_end(arguments);
    return Open("open64", path, flags, mode);
}
ssize_t write(int descriptor, const void* bytes, size_t size) {
    struct stat status {};
    const bool grows = fstat(descriptor, &status) == 0 &&
                       (fcntl(descriptor, F_GETFL) & O_APPEND ||
                        lseek(descriptor, 0, SEEK_CUR) + static_cast<off_t>(size) > status.st_size);
    if (IsBelow(descriptor) && Strikes("write", grows)) return -1;
    static const auto real = Real<ssize_t (*)(int, const void*, size_t)>("write");
    return real(descriptor, bytes, size);
}
ssize_t pwrite(int descriptor, const void* bytes, size_t size, off_t at) {
    return Write("pwrite", descriptor, bytes, size, at);
}
ssize_t pwrite64(int descriptor, const void* bytes, size_t size, off_t at) {
    return Write("pwrite64", descriptor, bytes, size, at);
}
int fsync(int descriptor) { return Sync("fsync", descriptor); }
int fdatasync(int descriptor) { return Sync("fdatasync", descriptor); }
int ftruncate(int descriptor, off_t size) noexcept { return Truncate("ftruncate", descriptor, size); }
int ftruncate64(int descriptor, off_t size) noexcept { return Truncate("ftruncate64", descriptor, size); }
}
