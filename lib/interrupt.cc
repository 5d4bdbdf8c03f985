#include "lib/interrupt.h"

#include <csignal>

namespace inst {
namespace {

constexpr int kCaught[] = {SIGINT, SIGTERM, SIGHUP};

volatile std::sig_atomic_t received = 0;

void record(int signal) {
  if (received == 0) received = signal;
}

void install(void (*handler)(int)) {
  struct sigaction action = {};
  action.sa_handler = handler;
  sigemptyset(&action.sa_mask);
  // No SA_RESTART: a read or write that waits is cut short with EINTR.
  action.sa_flags = 0;
  for (const int signal : kCaught) sigaction(signal, &action, nullptr);
}

}  // namespace

void interrupt_arm() { install(record); }

void interrupt_disarm() { install(SIG_DFL); }

int interrupt_signal() { return received; }

void interrupt_clear() { received = 0; }

}  // namespace inst
