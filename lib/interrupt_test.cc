#include "lib/interrupt.h"

#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>

namespace inst {
namespace {

TEST(InterruptTest, ArmedSignalsAreRecordedFirstOneWinsAndDisarmingRestoresTheDefault) {
  interrupt_clear();
  interrupt_arm();
  EXPECT_EQ(interrupt_signal(), 0);
  raise(SIGTERM);
  raise(SIGINT);
  EXPECT_EQ(interrupt_signal(), SIGTERM);
  interrupt_disarm();
  EXPECT_EQ(interrupt_signal(), SIGTERM);
  interrupt_clear();
  EXPECT_EQ(interrupt_signal(), 0);

  // Disarmed, the signal ends the process as it always has.
  const pid_t child = fork();
  if (child == 0) {
    interrupt_arm();
    interrupt_disarm();
    raise(SIGHUP);
    _exit(0);
  }
  int status = 0;
  ASSERT_EQ(waitpid(child, &status, 0), child);
  EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGHUP);
}

TEST(InterruptTest, AWaitingReadIsCutShortWhileArmed) {
  int ends[2];
  ASSERT_EQ(pipe(ends), 0);
  interrupt_clear();
  interrupt_arm();
  const pid_t child = fork();
  if (child == 0) {
    usleep(100 * 1000);
    kill(getppid(), SIGINT);
    // Were the read restarted, this byte would end it instead.
    usleep(500 * 1000);
    if (write(ends[1], "x", 1) != 1) _exit(1);
    _exit(0);
  }
  char c;
  errno = 0;
  EXPECT_EQ(read(ends[0], &c, 1), -1);
  EXPECT_EQ(errno, EINTR);
  EXPECT_EQ(interrupt_signal(), SIGINT);
  interrupt_disarm();
  interrupt_clear();
  waitpid(child, nullptr, 0);
  close(ends[0]);
  close(ends[1]);
}

}  // namespace
}  // namespace inst
