#include "companions/lockFile.h"

#include "companions/ownerOf.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <string_view>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace companions {
namespace {

constexpr mode_t forEverybody = 0777;

Failure untrusted(const std::string& path, const LockWords& words, const std::string& got) {
    return {words.exitStatus,
            {"cannot use the lock " + path, "a file of its own", got,
             "whoever put it there may mean harm: remove it, and see who may write to the directory"}};
}

// Whoever may write to the directory may have put something in the place of the file: a link would have
// another file written to, a pipe or a device opened.
int openRegularFile(const char* path, const LockWords& words) {
    const int descriptor =
        ::open(path, O_RDWR | O_CREAT | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC, forUserAndGroup);
    if (descriptor < 0 && errno == ELOOP) {
        throw untrusted(path, words, "a link");
    }
    if (descriptor < 0 && (errno == EISDIR || errno == ENXIO)) {
        throw untrusted(path, words, errno == EISDIR ? "a directory" : "no regular file");
    }
    if (descriptor < 0) {
        throw Failure(words.exitStatus, words.notOpened(errno));
    }
    struct stat status {};
    const bool known = ::fstat(descriptor, &status) == 0;
    if (!known || !S_ISREG(status.st_mode) || status.st_nlink > 1) {
        ::close(descriptor);
        throw untrusted(path, words,
                        known && S_ISREG(status.st_mode) ? "a file with another name" : "no regular file");
    }
    // One that an earlier program made with another mask keeps others of the group out.
    if ((status.st_mode & forEverybody) != forUserAndGroup && status.st_uid == ::geteuid()) {
        static_cast<void>(::fchmod(descriptor, forUserAndGroup));
    }
    return descriptor;
}

std::string holderOf(int descriptor) {
    std::array<char, 16> text{};
    const ssize_t length = ::pread(descriptor, text.data(), text.size(), 0);
    return length > 0 ? "process " + std::string(text.data(), static_cast<std::size_t>(length))
                      : "another process";
}

} // namespace

LockFile::LockFile(const char* path, const LockWords& words) : descriptor(openRegularFile(path, words)) {
    if (::flock(descriptor, LOCK_EX | LOCK_NB) != 0) {
        const std::string holder = holderOf(descriptor);
        ::close(descriptor);
        throw Failure(words.exitStatus, words.held(holder));
    }
    const std::string self = std::to_string(::getpid());
    // Who holds the lock is a courtesy to the next one: nothing depends on these two calls.
    if (::ftruncate(descriptor, 0) == 0) {
        static_cast<void>(::pwrite(descriptor, self.data(), self.size(), 0));
    }
}

LockFile::~LockFile() {
    ::close(descriptor);
}

} // namespace companions
