#include "lib/host.h"

#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "lib/log.h"
#include "lib/strings.h"

namespace inst {

char* tcp_hostname(char* name, int size) {
  if (!name || size < 1) return name;
  if (gethostname(name, static_cast<size_t>(size) - 1) != 0) {
    emsg("Gethostname failed, %s", std::strerror(errno));
    scpy(name, "127.0.0.1", size);
    return name;
  }
  // A name that exactly fills the room may come back unterminated.
  name[size - 1] = '\0';
  return name;
}

}  // namespace inst
