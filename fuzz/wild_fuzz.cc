// The wildcard matcher: the first line of the input is the text (or the
// list of names), the rest the pattern (or the list of patterns).
#include "fuzz/fuzz_input.h"
#include "lib/wild.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace inst;
  fuzz::Reader in(data, size);
  const std::string text(in.Line());
  const std::string wild(in.Rest());
  wmatch(text.c_str(), wild.c_str(), 0);
  wmatch(text.c_str(), wild.c_str(), 1);
  wild_match(text.c_str(), wild.c_str());
  wild_imatch(text.c_str(), wild.c_str());
  wild_list(text.c_str(), wild.c_str());
  wild_ilist(text.c_str(), wild.c_str());
  return 0;
}
