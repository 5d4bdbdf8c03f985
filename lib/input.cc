#include "lib/input.h"

namespace inst {

int read_reply(char* reply, int size, FILE* in) {
  if (reply == nullptr || in == nullptr || size < 1) return 0;
  std::fflush(stdout);
  int length = 0;
  int c = std::getc(in);
  if (c == EOF) {
    reply[0] = '\0';
    return 0;
  }
  for (; c != EOF && c != '\n'; c = std::getc(in)) {
    if (length < size - 1) reply[length++] = static_cast<char>(c);
  }
  reply[length] = '\0';
  return 1;
}

}  // namespace inst
