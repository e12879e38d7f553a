#include <morvel/files/FileTools.h>

#include <signal.h>
#include <sys/ptrace.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <morvel/base/NException.h>
#include <morvel/documents/DocumentTools.h>
#include <tests/support/TemporaryFolder.h>
#include <tests/support/Test.h>

using namespace morvel::test;

namespace {

class Replacing : public testing::TestWithParam<bool> {
protected:
    void SetUp() override {
        _replace();
        _new = folder.Read("file");
        folder.Write("file", "old");
    }

    void _replace() {
        if (GetParam()) {
            NXML document;
            morvel::Put(document, "r", std::string(100, 'n'));
            morvel::SaveSafely(document, _path);
        } else {
            morvel::WriteFile(_path, std::string(100, 'n'));
        }
    }

    const TemporaryFolder folder;
    const NPath _path{folder.File("file"), EncodingUTF8};
    std::string _new;
};

INSTANTIATE_TEST_SUITE_P(FilesAndDocuments, Replacing, testing::Bool());

}  // namespace

// Killed at the begin and at the end of each of its system calls, until none is left.
TEST_P(Replacing, LeavesOldOrNewWheneverTheProcessIsKilled) {
    std::map<std::string, int> found;
    for (int stops = 0;; ++stops) {
        const pid_t child = fork();
        if (child == 0) {
            if (ptrace(PTRACE_TRACEME, 0, 0, 0) != 0) _exit(77);
            raise(SIGSTOP);
            _replace();
            _exit(0);
        }
        int status = 0;
        waitpid(child, &status, 0);
        for (int stop = 0; stop < stops && WIFSTOPPED(status); ++stop) {
            ptrace(PTRACE_SYSCALL, child, 0, 0);
            waitpid(child, &status, 0);
        }
        if (WIFEXITED(status) && WEXITSTATUS(status) == 77) GTEST_SKIP() << "no tracing here";
        if (WIFEXITED(status)) break;
        kill(child, SIGKILL);
        waitpid(child, &status, 0);
        ++found[folder.Read("file")];
        std::filesystem::remove_all(folder.Path());
        std::filesystem::create_directory(folder.Path());
        folder.Write("file", "old");
    }
    EXPECT_EQ(folder.Read("file"), _new);
    EXPECT_EQ(found.size(), 2u);
    EXPECT_GT(found["old"], 8);  // open, write, fsync and close come before the rename
    EXPECT_GT(found[_new], 0);
}

TEST_P(Replacing, LeavesTheOldFileAloneWhereTheNewOneHasNoRoom) {
    const auto limit = [](rlim_t bytes) {
        rlimit limits;
        getrlimit(RLIMIT_FSIZE, &limits);
        limits.rlim_cur = bytes;
        setrlimit(RLIMIT_FSIZE, &limits);
    };
    signal(SIGXFSZ, SIG_IGN);
    for (std::size_t room = 0; room < _new.size(); ++room) {
        limit(room);
        EXPECT_THROW(_replace(), KelFileException) << room;
        limit(RLIM_INFINITY);
        EXPECT_EQ(folder.Read("file"), "old");
        const std::filesystem::directory_iterator files(folder.Path());
        EXPECT_EQ(std::distance(files, {}), 1);
    }
}
