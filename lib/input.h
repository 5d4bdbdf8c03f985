// Reading the user's answers from the terminal, one line per answer.
#ifndef INSTALLER_LIB_INPUT_H_
#define INSTALLER_LIB_INPUT_H_

#include <cstdio>

namespace inst {

// Flushes standard output (so a prompt is seen), then reads one line from
// `in` into reply: at most size-1 characters, without the line break. The
// rest of a longer line is read and dropped, so that one line is always one
// answer. Returns 0 at end of input before any character (reply empty), else
// 1. Returns 0 for a null reply or stream, or a size below 1.
int read_reply(char* reply, int size, FILE* in);

}  // namespace inst

#endif  // INSTALLER_LIB_INPUT_H_
