#include "installer/menu.h"

#include <cstdio>

#include "installer/installer.h"
#include "installer/runs.h"
#include "lib/input.h"
#include "lib/interrupt.h"
#include "lib/limits.h"
#include "lib/strings.h"

namespace inst {
namespace {

const char kRule[] = "======================================================\n";

const char* product_name(Ini* ini) {
  const char* name = ini_value_name(ini, "product");
  return name != nullptr ? name : "NONAME";
}

}  // namespace

void print_header(Ini* ini) {
  std::printf("%s", kRule);
  std::printf("             Welcome to the %s installer\n", product_name(ini));
  std::printf(" You will be asked a series of questions, for each a\n");
  std::printf(" default answer will be provided (thus), to accept the\n");
  std::printf(" default simply press <enter>, otherwise enter a new\n");
  std::printf(" answer and press <enter>\n");
  std::printf("%s", kRule);
}

void print_menu(Ini* ini) {
  const char* name = product_name(ini);
  std::printf("\n");
  std::printf("1. Install %s\n", name);
  std::printf("2. Upgrade %s\n", name);
  std::printf("3. Remove %s\n", name);
  std::printf("4. Exit\n");
}

void print_blurb(Ini* ini) {
  OpenFile blurb(s_fopen("blurb.txt", "r"));
  if (blurb.f == nullptr) return;
  std::printf("\n");
  char line[kLineSize];
  char out[kLineSize];
  while (std::fgets(line, sizeof line, blurb.f) != nullptr) {
    out[0] = '\0';
    ini_replace(ini, s_strtrm(line), out, sizeof out);
    std::printf("%s\n", out);
  }
}

int suggested_action(Ini* ini) {
  return s_strcmp(ini_value_name(ini, "action"), "upgrade") == 0 ? 2 : 1;
}

int run_entry(Ini* ini, int choice) {
  switch (choice) {
    case 1: {
      const int result = install_product(ini);
      // Shown after a failed install too, on purpose; not after one that was
      // interrupted.
      if (result != SW_TO_UPGRADE && result != QUIT && interrupt_signal() == 0) print_blurb(ini);
      return result;
    }
    case 2:
      return upgrade_product(ini);
    case 3:
      return remove_product(ini);
    case 5:
      return do_special(ini);
    default:
      return FAILED;
  }
}

void menu_loop(Ini* ini, int action) {
  char reply[kLineSize];
  // A run cut short by a signal ends the menu.
  for (int finished = 0; !finished && interrupt_signal() == 0;) {
    int choice;
    if (special_mode != nullptr) {
      choice = 5;
    } else {
      print_menu(ini);
      if (automate) {
        std::printf("\n");
        choice = action;
      } else {
        std::printf("\nWhat would you like to do[%d]? ", action);
        if (!read_reply(reply, sizeof reply, stdin)) return;
        const char* text = s_strtrm(reply);
        choice = *text == '\0' ? action : s_atoi(text);
      }
    }
    if (choice == 4) {
      finished = 1;
    } else if (choice < 1 || choice > 5) {
      std::printf("That is not a recognised option, please try again\n");
    } else {
      // A quit run, or one that found the other action fits, comes back to
      // the menu; the special run never does.
      const int result = run_entry(ini, choice);
      finished = choice == 5 || (result != QUIT && !(choice == 1 && result == SW_TO_UPGRADE) &&
                                 !(choice == 2 && result == SW_TO_INSTALL));
    }
  }
}

}  // namespace inst
