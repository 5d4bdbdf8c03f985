// The web server's httpd.conf: the first byte chooses which of user, group,
// document root and script directory are asked for, the rest is the file.
// A second search with the same findings asks for all four.
#include "fuzz/fuzz_input.h"
#include "init/init.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace inst;
  fuzz::QuietLog();
  fuzz::Reader in(data, size);
  const uint8_t ask = in.Byte();
  const std::string path = fuzz::WriteInput("httpd.conf", in.Rest());
  const char* const files[] = {"/nonexistent/httpd.conf", path.c_str()};
  HttpConf cache;
  char user[kLineSize], group[kLineSize], root[kLineSize], scripts[kLineSize];
  char errmsg[kLineSize];
  init_find_http_conf_in(&cache, files, 2, ask & 1 ? user : nullptr, ask & 2 ? group : nullptr,
                         ask & 4 ? root : nullptr, ask & 8 ? scripts : nullptr,
                         ask & 16 ? errmsg : nullptr);
  init_find_http_conf_in(&cache, files, 2, user, group, root, scripts, errmsg);
  return 0;
}
