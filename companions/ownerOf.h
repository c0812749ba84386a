// In whose name endpoints are made.
#pragma once

#include <optional>
#include <sys/types.h>

namespace companions {

// Rights of what user and group share, and nobody else.
inline constexpr mode_t forUserAndGroup = 0660;

// While it lives, what this process makes is for the user and the group of the directory that it is made in,
// and for nobody else. So a program that root starts beside programs of another user leaves them their
// endpoints: root makes files as the directory's owner would, with no more rights than that user has.
class OwnerOf {
  public:
    // Does nothing for a directory that is missing: making something in it fails soon enough. Throws Failure
    // with this exit status when the directory is a stranger's: of a user who is neither this one nor root,
    // and of a group that this user is not in; or when root cannot act for its owner.
    OwnerOf(const char* directory, int exitStatus);
    ~OwnerOf();
    OwnerOf(const OwnerOf&) = delete;
    OwnerOf& operator=(const OwnerOf&) = delete;

  private:
    void resume() const;

    mode_t mask;
    std::optional<uid_t> user; // to become again
    std::optional<gid_t> group;
};

// Lets the user and the group of a socket that has been bound connect to it, and nobody else, whatever the
// mask of this process. endpoint: as ZeroMQ names it, ipc:// and a path.
void openToGroup(const char* endpoint);

} // namespace companions
