#include "installer/installer.h"

namespace inst {

char* myname = nullptr;
char* special_mode = nullptr;
int automate = 0;

}  // namespace inst
