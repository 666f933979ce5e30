#include "mount/ProgramStart.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

namespace {

using namespace Oru::Mount;

bool isNull(int fd) {
  struct ::stat status {};
  return ::fstat(fd, &status) == 0 && S_ISCHR(status.st_mode) &&
         status.st_rdev == ::makedev(1, 3) && (::fcntl(fd, F_GETFL) & O_ACCMODE) == O_RDWR;
}

TEST(ProgramStart, ClosedStandardDescriptorsLeadNowhereAndTheOthersStay) {
  EXPECT_EXIT(
      {
        int ends[2];
        bool works = ::pipe(ends) == 0 && ::dup2(ends[1], STDOUT_FILENO) == STDOUT_FILENO;
        ::close(STDIN_FILENO);
        ::close(STDERR_FILENO);
        openStandardDescriptors();
        works = works && isNull(STDIN_FILENO) && isNull(STDERR_FILENO);
        works = works && ::write(STDOUT_FILENO, "x", 1) == 1 && !isNull(STDOUT_FILENO);
        std::_Exit(works ? 0 : 1);
      },
      testing::ExitedWithCode(0), "");
}

TEST(ProgramStart, APipeThatNobodyReadsFailsAndEndsNothing) {
  EXPECT_EXIT(
      {
        int ends[2];
        bool works = ::pipe(ends) == 0 && ::close(ends[0]) == 0;
        ignoreBrokenPipes();
        works = works && ::write(ends[1], "x", 1) < 0 && errno == EPIPE;
        std::_Exit(works ? 0 : 1);
      },
      testing::ExitedWithCode(0), "");
}

}  // namespace
