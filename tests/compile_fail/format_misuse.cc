// Must not compile: the formatter has no length modifiers, and the format
// check rejects "%lu" instead of letting the call store a count through the
// unsigned long at run time.
#include "lib/format.h"

int main() {
  char buffer[64];
  return inst::lprintf(buffer, 64, "copied %lu bytes", 42UL);
}
