// The functions for files and folders.

#include <dirent.h>
#include <fcntl.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <sys/uio.h>
#include <unistd.h>

#include <cstdarg>

#include "Faults.h"

using quillbay::faults::callOrFail;
using quillbay::faults::callReal;
using quillbay::faults::faultOf;
using quillbay::faults::functionIndex;

extern "C" {

int open(const char* path, int flags, ...) {
    va_list list;
    va_start(list, flags);
    const auto mode = va_arg(list, mode_t);
    va_end(list);
    return callOrFail<"open">(-1, path, flags, mode);
}

int open64(const char* path, int flags, ...) {
    va_list list;
    va_start(list, flags);
    const auto mode = va_arg(list, mode_t);
    va_end(list);
    return callOrFail<"open">(-1, path, flags, mode);
}

int __open_2(const char* path, int flags) {
    return callOrFail<"open">(-1, path, flags, mode_t{0});
}

int openat(int folder, const char* path, int flags, ...) {
    va_list list;
    va_start(list, flags);
    const auto mode = va_arg(list, mode_t);
    va_end(list);
    return callOrFail<"openat">(-1, folder, path, flags, mode);
}

int __openat_2(int folder, const char* path, int flags) {
    return callOrFail<"openat">(-1, folder, path, flags, mode_t{0});
}

FILE* fopen(const char* path, const char* mode) {
    return callOrFail<"fopen">(static_cast<FILE*>(nullptr), path, mode);
}

FILE* fopen64(const char* path, const char* mode) {
    return callOrFail<"fopen">(static_cast<FILE*>(nullptr), path, mode);
}

ssize_t read(int descriptor, void* data, size_t size) {
    return callOrFail<"read">(ssize_t{-1}, descriptor, data, size);
}

ssize_t __read_chk(int descriptor, void* data, size_t size, size_t) {
    return callOrFail<"read">(ssize_t{-1}, descriptor, data, size);
}

ssize_t readv(int descriptor, const iovec* parts, int count) {
    return callOrFail<"readv">(ssize_t{-1}, descriptor, parts, count);
}

ssize_t write(int descriptor, const void* data, size_t size) {
    return callOrFail<"write">(ssize_t{-1}, descriptor, data, size);
}

ssize_t writev(int descriptor, const iovec* parts, int count) {
    return callOrFail<"writev">(ssize_t{-1}, descriptor, parts, count);
}

ssize_t splice(int from, off64_t* fromOffset, int to, off64_t* toOffset, size_t size, unsigned flags) {
    return callOrFail<"splice">(ssize_t{-1}, from, fromOffset, to, toOffset, size, flags);
}

int fsync(int descriptor) {
    return callOrFail<"fsync">(-1, descriptor);
}

int fdatasync(int descriptor) {
    return callOrFail<"fdatasync">(-1, descriptor);
}

int ftruncate(int descriptor, off_t size) noexcept {
    return callOrFail<"ftruncate">(-1, descriptor, size);
}

off_t lseek(int descriptor, off_t offset, int whence) noexcept {
    return callOrFail<"lseek">(off_t{-1}, descriptor, offset, whence);
}

int close(int descriptor) {
    const int code = faultOf(functionIndex("close"));
    const int result = callReal<"close", int>(descriptor);
    if (code == 0) return result;
    // The kernel gives the descriptor up before it says that anything went wrong.
    errno = code;
    return -1;
}

int close_range(unsigned first, unsigned last, int flags) noexcept {
    return callOrFail<"close_range">(-1, first, last, flags);
}

int fcntl(int descriptor, int command, ...) {
    va_list list;
    va_start(list, command);
    void* const argument = va_arg(list, void*);
    va_end(list);
    return callOrFail<"fcntl">(-1, descriptor, command, argument);
}

int fcntl64(int descriptor, int command, ...) {
    va_list list;
    va_start(list, command);
    void* const argument = va_arg(list, void*);
    va_end(list);
    return callOrFail<"fcntl">(-1, descriptor, command, argument);
}

int ioctl(int descriptor, unsigned long request, ...) noexcept {
    va_list list;
    va_start(list, request);
    void* const argument = va_arg(list, void*);
    va_end(list);
    return callOrFail<"ioctl">(-1, descriptor, request, argument);
}

int flock(int descriptor, int operation) noexcept {
    return callOrFail<"flock">(-1, descriptor, operation);
}

int stat(const char* path, struct stat* found) noexcept {
    return callOrFail<"stat">(-1, path, found);
}

int lstat(const char* path, struct stat* found) noexcept {
    return callOrFail<"lstat">(-1, path, found);
}

int fstat(int descriptor, struct stat* found) noexcept {
    return callOrFail<"fstat">(-1, descriptor, found);
}

int fstat64(int descriptor, struct stat64* found) noexcept {
    return callOrFail<"fstat">(-1, descriptor, found);
}

int faccessat(int folder, const char* path, int mode, int flags) noexcept {
    return callOrFail<"faccessat">(-1, folder, path, mode, flags);
}

int chmod(const char* path, mode_t mode) noexcept {
    return callOrFail<"chmod">(-1, path, mode);
}

int fchmod(int descriptor, mode_t mode) noexcept {
    return callOrFail<"fchmod">(-1, descriptor, mode);
}

int mkdir(const char* path, mode_t mode) noexcept {
    return callOrFail<"mkdir">(-1, path, mode);
}

char* mkdtemp(char* pattern) noexcept {
    return callOrFail<"mkdtemp">(static_cast<char*>(nullptr), pattern);
}

int rename(const char* from, const char* to) noexcept {
    return callOrFail<"rename">(-1, from, to);
}

int renameat(int fromFolder, const char* from, int toFolder, const char* to) noexcept {
    return callOrFail<"renameat">(-1, fromFolder, from, toFolder, to);
}

int unlink(const char* path) noexcept {
    return callOrFail<"unlink">(-1, path);
}

int unlinkat(int folder, const char* path, int flags) noexcept {
    return callOrFail<"unlinkat">(-1, folder, path, flags);
}

int rmdir(const char* path) noexcept {
    return callOrFail<"rmdir">(-1, path);
}

DIR* opendir(const char* path) {
    return callOrFail<"opendir">(static_cast<DIR*>(nullptr), path);
}

DIR* fdopendir(int descriptor) {
    return callOrFail<"fdopendir">(static_cast<DIR*>(nullptr), descriptor);
}

dirent* readdir(DIR* folder) {
    return callOrFail<"readdir">(static_cast<dirent*>(nullptr), folder);
}

}  // extern "C"
