// The copy script: one section of file commands (copy, create, remove,
// rename, test, write) held in memory as a list of command records.
#ifndef INSTALLER_COPY_COPY_H_
#define INSTALLER_COPY_COPY_H_

#include <cstdint>
#include <memory>
#include <vector>

namespace inst {

struct Ini;

// The command of one record. Every copy-like command carries bit 256 (Cpy)
// and every removal bit 512 (Rm); the two group values are masks only.
enum CType : int32_t {
  Cpy = 256,
  CpyFile = 257,  // "CopyFile"
  CpyDir = 258,   // "CopyDir"
  MkDir = 260,    // "MkDir"
  CpyIni = 264,   // "Ini"
  Rename = 272,   // "Rename"
  Rm = 512,
  RmFile = 513,  // "RmFile"
  RmDir = 514,   // "RmDir"
  Exist = 1024,  // "Exist"
  Chown = 2048,  // "Chown"
  Chmod = 2049,  // "Chmod"
  Error = 4096,  // "Error"
  WFile = 8192,  // "WFile"
  RFile = 16384  // "RFile"
};

// One command. Every text is owned by the record and may be null.
struct CCmd {
  std::unique_ptr<char[]> source;  // first field after the keyword
  std::unique_ptr<char[]> dest;    // destination, setting name, mode, owner or message
  // Exclusion list of comma-separated wildcards. Named with a trailing
  // underscore because `not` is an operator keyword in C++.
  std::unique_ptr<char[]> not_;
  std::unique_ptr<char[]> control;      // name of the controlling setting
  std::unique_ptr<char[]> control_cmp;  // setting name or literal to compare with
  CType type = Cpy;
};

// A loaded section of a copy script.
struct Copy {
  std::vector<CCmd> list;  // the commands in file order
  Ini* ini = nullptr;      // settings store for references and commands; borrowed
  uint32_t count = 0;      // number of valid records in list
};

}  // namespace inst

#endif  // INSTALLER_COPY_COPY_H_
