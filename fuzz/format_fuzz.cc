// The bounded formatter: the first byte gives the buffer size, the input up
// to the first NUL is the format, and the rest supplies the arguments. The
// arguments are passed in a fixed order of kinds; before the call the format
// is adjusted so that every conversion takes an argument of its own kind:
// each conversion letter is replaced by a supported letter of the kind of
// the argument it will take, and a '*' that would take anything but an int
// becomes the digit 1. Conversions beyond the arguments are cut off.
#include <memory>
#include <string>

#include "fuzz/fuzz_input.h"
#include "lib/format.h"

namespace {

// The kinds of the arguments, in the order they are passed.
constexpr char kSlots[] = "ITDINTIDITID";
constexpr int kSlotCount = sizeof kSlots - 1;

// Where the formatter takes a conversion's flags, width and precision.
bool InConversion(char c) {
  return c == '-' || c == '+' || c == ' ' || c == '#' || c == '.' || (c >= '0' && c <= '9');
}

// A supported letter for an argument of kind `slot`, chosen by `pick`.
char LetterFor(char slot, unsigned char pick) {
  switch (slot) {
    case 'I':
      return "cCdiouxX"[pick % 8];
    case 'D':
      return "eEfgG"[pick % 5];
    case 'T':
      return "sSp"[pick % 3];
    default:
      return 'n';
  }
}

// Rewrites format in place as described above.
void Adjust(std::string* format) {
  int slot = 0;
  for (size_t i = 0; i < format->size(); ++i) {
    if ((*format)[i] != '%') continue;
    if (i + 1 < format->size() && (*format)[i + 1] == '%') {
      ++i;
      continue;
    }
    size_t j = i + 1;
    for (; j < format->size(); ++j) {
      char& c = (*format)[j];
      if (c == '*') {
        if (slot < kSlotCount && kSlots[slot] == 'I') {
          ++slot;
        } else {
          c = '1';
        }
      } else if (!InConversion(c)) {
        break;
      }
    }
    if (j == format->size()) return;
    if (slot == kSlotCount) {
      format->resize(i);
      return;
    }
    (*format)[j] = LetterFor(kSlots[slot++], static_cast<unsigned char>((*format)[j]));
    i = j;
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  using namespace inst;
  fuzz::Reader in(data, size);
  const size_t bfsz = in.Byte() % 128 + 1;
  std::string format(in.Upto('\0').substr(0, 200));
  Adjust(&format);

  const int i1 = in.Value<int>(), i2 = in.Value<int>(), i3 = in.Value<int>();
  const int i4 = in.Value<int>(), i5 = in.Value<int>();
  const double d1 = in.Value<double>(), d2 = in.Value<double>(), d3 = in.Value<double>();
  const std::string t1(in.Upto('\0').substr(0, 300));
  const std::string t2(in.Upto('\0').substr(0, 300));
  const char* t3 = in.Done() ? nullptr : "third";
  int stored = 0;

  // A buffer of exactly the size given, so that a write past it is caught.
  std::unique_ptr<char[]> buffer(new char[bfsz]);
  unchecked::snprintf(buffer.get(), bfsz, format.c_str(), i1, t1.c_str(), d1, i2, &stored,
                      t2.c_str(), i3, d2, i4, t3, i5, d3);
  unchecked::lprintf(buffer.get(), static_cast<int>(bfsz), format.c_str(), i1, t1.c_str(), d1, i2,
                     &stored, t2.c_str(), i3, d2, i4, t3, i5, d3);
  return 0;
}
