#include "platform/imaging/WorkerProcess.h"

#include "tests/fakes/MemoryLimit.h"
#include "tests/fakes/TemporaryFolder.h"

#include <chrono>
#include <cstdint>
#include <gtest/gtest.h>
#include <linux/landlock.h>
#include <string>
#include <sys/syscall.h>
#include <thread>
#include <unistd.h>

namespace quillorn {
namespace {

using namespace std::chrono_literals;
using Kind = ImageError::Kind;

class WorkerProcessTest : public testing::Test {
protected:
    WorkerAnswer run(ImageFormat format, const std::string& input = "input") {
        tests::writeFile(folder / "input", input);
        auto descriptor = FileDescriptor::openRegularFile(folder / "input");
        job.format = format;
        job.file = "photo.jpg";
        return runImageWorker(*descriptor, job);
    }

    const tests::TemporaryFolder folder;
    WorkerJob job{QUILLORN_MISBEHAVING_WORKER, {}, {}, {}, {}};
};

TEST_F(WorkerProcessTest, ACrashIsARefusal) {
    const WorkerAnswer answer = run(ImageFormat::png);
    ASSERT_FALSE(answer.image);
    EXPECT_EQ(answer.image.error().kind, Kind::notImage);
    EXPECT_EQ(answer.image.error().reason, "the reader of images failed over it");
    EXPECT_EQ(answer.image.error().file, "photo.jpg");
    EXPECT_TRUE(answer.mayOthers);
}

TEST_F(WorkerProcessTest, ComputingForEverEnds) {
    job.limits.workerProcessorTime = 1s;
    const WorkerAnswer answer = run(ImageFormat::gif);
    ASSERT_FALSE(answer.image);
    EXPECT_EQ(answer.image.error().kind, Kind::tooLarge);
    EXPECT_FALSE(answer.mayOthers);
}

TEST_F(WorkerProcessTest, WaitingForEverEnds) {
    job.limits.workerDeadline = 100ms;
    const WorkerAnswer answer = run(ImageFormat::bmp);
    ASSERT_FALSE(answer.image);
    EXPECT_EQ(answer.image.error().kind, Kind::tooLarge);
    EXPECT_EQ(answer.image.error().reason, "reading it takes too long");
}

TEST_F(WorkerProcessTest, PretendingToBeGoneIsARefusal) {
    const WorkerAnswer answer = run(ImageFormat::jpeg2000);
    ASSERT_FALSE(answer.image);
    EXPECT_EQ(answer.image.error().kind, Kind::notImage);
}

TEST_F(WorkerProcessTest, AStopRequestEndsIt) {
    std::stop_source stop;
    job.stop = stop.get_token();
    std::jthread asking([&stop] { stop.request_stop(); });
    const WorkerAnswer answer = run(ImageFormat::bmp);
    ASSERT_FALSE(answer.image);
    EXPECT_EQ(answer.image.error().kind, Kind::cancelled);
}

#ifndef QUILLORN_SANITIZERS
TEST_F(WorkerProcessTest, HoardingMemoryEnds) {
    job.limits.workerMemory = 512U << 20U;
    const WorkerAnswer answer = run(ImageFormat::ico);
    ASSERT_FALSE(answer.image);
    EXPECT_EQ(answer.image.error().kind, Kind::tooLarge);
    EXPECT_EQ(answer.image.error().reason, "it needs more memory than an image may take");
}

TEST_F(WorkerProcessTest, MayTakeMoreMemoryThanTheProgramAllowsItself) {
    const tests::MemoryLimit ours(std::uint64_t{1} << 30U);
    job.limits.workerMemory = std::uint64_t{3} << 30U;
    const WorkerAnswer answer = run(ImageFormat::webp);
    ASSERT_FALSE(answer.image);
    EXPECT_NE(answer.image.error().reason.find("memory: 3221225472"), std::string::npos)
        << answer.image.error().reason;
}
#endif

TEST_F(WorkerProcessTest, AnswersThatAreTooLongAreNotTaken) {
    job.limits.workerOutput = 1U << 20U;
    const WorkerAnswer answer = run(ImageFormat::tiff);
    ASSERT_FALSE(answer.image);
    EXPECT_EQ(answer.image.error().kind, Kind::tooLarge);
}

TEST_F(WorkerProcessTest, AnswersThatMakeNoSenseAreNotTaken) {
    for (const ImageFormat format : {ImageFormat::psd, ImageFormat::tga, ImageFormat::heif,
                                     ImageFormat::svg, ImageFormat::icns}) {
        const WorkerAnswer answer = run(format);
        ASSERT_FALSE(answer.image) << imageFormatName(format);
        EXPECT_EQ(answer.image.error().reason,
                  "the reader of images failed: its answer makes no sense");
    }
}

TEST_F(WorkerProcessTest, AnotherStatusIsARefusal) {
    const WorkerAnswer answer = run(ImageFormat::avif);
    ASSERT_FALSE(answer.image);
    EXPECT_EQ(answer.image.error().reason, "the reader of images failed");
}

TEST_F(WorkerProcessTest, AMissingWorkerIsNamed) {
    job.program = folder / "gone";
    const WorkerAnswer answer = run(ImageFormat::png);
    ASSERT_FALSE(answer.image);
    EXPECT_EQ(answer.image.error().kind, Kind::noReader);
    EXPECT_EQ(answer.image.error().reason,
              (folder / "gone").string() + " cannot be started: No such file or directory");
}

TEST_F(WorkerProcessTest, HasNoRightsThatDecodingDoesNotNeed) {
    tests::writeFile(folder / "secret", "the user's");
    const WorkerAnswer answer = run(ImageFormat::webp, (folder / "secret").string());
    ASSERT_FALSE(answer.image);
    const std::string& rights = answer.image.error().reason;
    for (const char* const right : {"write: never", "run: no", "network: no", "children: no",
                                    "threads: yes", "signals: no", "touch: no"}) {
        EXPECT_NE(rights.find(right), std::string::npos) << right << ": " << rights;
    }
    const bool kernelConfinesFiles =
        ::syscall(SYS_landlock_create_ruleset, nullptr, 0, LANDLOCK_CREATE_RULESET_VERSION) > 0;
    if (kernelConfinesFiles) {
        EXPECT_NE(rights.find("read: no"), std::string::npos) << rights;
    }
    EXPECT_FALSE(std::filesystem::exists(folder / "secret.new"));
    EXPECT_EQ(tests::readFile(folder / "secret"), "the user's");
}

} // namespace
} // namespace quillorn
