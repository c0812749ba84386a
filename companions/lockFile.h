// The lock that makes a process the only owner of its endpoints. ZeroMQ lets a second program bind an ipc://
// path without an error, and then takes the first one's connections away.
#pragma once

#include "companions/trouble.h"

#include <string>

namespace companions {

// How a program tells that it cannot have its lock.
struct LockWords {
    int exitStatus;
    Trouble (*notOpened)(int error);            // errno of the opening
    Trouble (*held)(const std::string& holder); // "process 123", or "another process"
};

// Held as long as the object lives.
class LockFile {
  public:
    // Makes the file when it is missing, for the user and the group, and takes the lock. Throws Failure when
    // the file cannot be opened, is a link or no file at all, or when somebody holds the lock.
    LockFile(const char* path, const LockWords& words);
    ~LockFile();
    LockFile(const LockFile&) = delete;
    LockFile& operator=(const LockFile&) = delete;

  private:
    int descriptor;
};

} // namespace companions
