#include "tests/protocol/RecordPtr.h"

#include <cstdio>

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

TEST(RomUpload, DoesNotWaitForAPipe) {
    const std::string path = testing::TempDir() + "protocol_pipe_" + std::to_string(::getpid());
    ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0);
    EXPECT_EQ(deviceUploadRom(makeRecord().get(), 0x0A, path.c_str()), -1);
    std::remove(path.c_str());
}
