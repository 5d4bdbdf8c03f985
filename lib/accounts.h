// User and group ids read straight from the machine's own account files,
// /etc/passwd and /etc/group, for the fully static build: there the system's
// name-service lookups cannot load their modules, and glibc's crash when a
// name is not in the files database.
#ifndef INSTALLER_LIB_ACCOUNTS_H_
#define INSTALLER_LIB_ACCOUNTS_H_

namespace inst {

inline constexpr const char* kPasswdFile = "/etc/passwd";
inline constexpr const char* kGroupFile = "/etc/group";

// Field numbers (from 0) of the ids in those files: the user's or group's own
// id, and a user's primary group.
constexpr int kAccountId = 2;
constexpr int kAccountGroup = 3;

// Looks `name` up in `file`, a text in the form of /etc/passwd or /etc/group:
// one entry a line, fields separated by ':', the name first. Empty lines,
// lines starting with '#' and entries whose field `field` is missing or not
// a decimal number of at most 32 bits are passed over; lines may be of any
// length. Returns that field of the first other entry with exactly that
// name, converted to int as the system's ids are; -1 when the name is null
// or empty, no such entry is in the file, or the file cannot be read.
int accounts_find(const char* file, const char* name, int field);

}  // namespace inst

#endif  // INSTALLER_LIB_ACCOUNTS_H_
