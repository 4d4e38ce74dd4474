#include "Foundation/FileOperations.h"
#include "Foundation/FileSystemError.h"
#include "Inspection/ImageRendering.h"
#include "Support/Failure.h"
#include "Support/Pictures.h"
#include "Support/TemporaryFolder.h"
#include "Support/Waiting.h"

#include <asio/io_context.hpp>
#include <asio/use_future.hpp>
#include <fcntl.h>
#include <gmock/gmock.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <future>
#include <latch>
#include <system_error>
#include <thread>

// The counter of an exception's owners is in the C++ library, which ThreadSanitizer does not see.
extern "C" const char* __tsan_default_suppressions() { // NOLINT(bugprone-reserved-identifier)
    return "race:std::__exception_ptr::exception_ptr::_M_release";
}

namespace tarnwick::test {
namespace {

using asio::use_future;

constexpr const char* undecodable = "图片无法解码";
constexpr const char* changedBefore = "图片文件已被修改，无法对比";

/// Blocks every open() of the file until the descriptor is closed.
FileDescriptor leaseOf(const URL& url) {
    FileDescriptor lease = openForReading(url);
    EXPECT_EQ(::fcntl(lease.get(), F_SETLEASE, F_WRLCK), 0);
    return lease;
}

/// Waits for an open() of the file.
bool isWanted(const FileDescriptor& lease) {
    return waitUntil([&] { return ::fcntl(lease.get(), F_GETLEASE) != F_WRLCK; });
}

class ImageRenderingTest : public testing::Test {
protected:
    std::future<ComparisonImages> compare(std::optional<std::string> originalHash = {},
                                          std::optional<std::string> replacementHash = {}) const {
        return ImageRendering::comparisonImages(original, compressed, std::move(originalHash),
                                                std::move(replacementHash), use_future);
    }

    TemporaryFolder folder;
    const URL original = copyPicture("photo.png", folder / "original.png");
    const URL compressed = copyPicture("photo-turned.jpg", folder / "compressed.jpg");
};

TEST_F(ImageRenderingTest, RefusesWhatItCannotShow) {
    EXPECT_EQ(failureOf([&] { ImageRendering::thumbnail(original, 0); }), undecodable);
    EXPECT_EQ(failureOf([&] { ImageRendering::thumbnail(original, -5); }), undecodable);
    for (const URL& url :
         {*URL::parse("https://example.org/picture.png"), *URL::parse("trash:" + original.path()),
          folder.file("text.png", "no picture"), folder / "absent.png", folder.url()}) {
        EXPECT_EQ(failureOf([&] { ImageRendering::comparisonImage(url); }),
                  url.isFileURL() ? undecodable : "请选择本地图片文件");
        EXPECT_EQ(failureOf([&] { ImageRendering::thumbnail(url, 10); }), undecodable);
    }
}

TEST_F(ImageRenderingTest, ComparesOnlyTheFilesThatWereRecorded) {
    const std::string a = hash(original);
    const std::string b = hash(compressed);
    for (const auto& pending :
         {compare().share(), compare(a).share(), compare({}, b).share(), compare(a, b).share()}) {
        EXPECT_EQ(pending.get().original->width, 32);
        EXPECT_EQ(pending.get().compressed->width, 24);
    }
    EXPECT_EQ(failureOf([&] { compare(b, b).get(); }), changedBefore);
    EXPECT_EQ(failureOf([&] { compare(a, a).get(); }), changedBefore);
    EXPECT_EQ(failureOf([&] { compare("", {}).get(); }), changedBefore);

    folder.file("compressed.jpg", "no picture");
    EXPECT_EQ(failureOf([&] { compare(a).get(); }), undecodable);
    EXPECT_EQ(failureOf([&] { compare(a, b).get(); }), changedBefore) << "before anything is decoded";
    removeFile(compressed);
    EXPECT_THROW(compare(a, b).get(), FileSystemError);
}

TEST_F(ImageRenderingTest, NoticesAReplacementWhileItReads) {
    static_cast<void>(std::signal(SIGIO, SIG_IGN)); // the kernel's message that a lease is wanted
    for (const URL& replaced : {compressed, original}) {
        copyPicture("photo.png", original);
        copyPicture("photo-turned.jpg", compressed);
        FileDescriptor hashingCompressed = leaseOf(compressed);
        auto pending = compare(hash(original), std::nullopt);
        ASSERT_TRUE(isWanted(hashingCompressed));
        // The original's hash is known by now, and that of the compressed file when the original is decoded.
        FileDescriptor decodingOriginal = leaseOf(original);
        hashingCompressed.reset();
        ASSERT_TRUE(isWanted(decodingOriginal));
        atomicRename(copyPicture("tiny.png", folder / "other.png"), replaced);
        decodingOriginal.reset();
        EXPECT_EQ(failureOf([&] { pending.get(); }), "图片文件在载入过程中被修改，请重新打开对比");
    }
}

class ReadingQueueTest : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(first.hasBegun());
        ASSERT_TRUE(second.hasBegun());
    }
    std::future<void> run(HeldJob::Body body, ReadingPriority priority = ReadingPriority::veryLow) {
        return queue->run(priority, std::move(body), use_future);
    }

    std::optional<ReadingQueue> queue{std::in_place};
    HeldJob first{[this](HeldJob::Body body) { return run(std::move(body)); }};
    HeldJob second{[this](HeldJob::Body body) { return run(std::move(body)); }};
};

TEST_F(ReadingQueueTest, RunsTwoAtATimeTheMostUrgentFirst) {
    std::string order;
    std::vector<std::future<void>> waiting;
    using enum ReadingPriority;
    for (const auto& [priority, name] :
         {std::pair(veryLow, 'g'), std::pair(normal, 'd'), std::pair(high, 'b'), std::pair(normal, 'e'),
          std::pair(low, 'f'), std::pair(high, 'c'), std::pair(veryHigh, 'a')}) {
        waiting.push_back(run([&order, name = name] { order += name; }, priority));
    }
    EXPECT_EQ(waiting.back().wait_for(aMoment), std::future_status::timeout) << "two are running";
    // Only one thread runs the others, so they cannot overtake each other.
    first.finish();
    for (auto& body : waiting) {
        body.get();
    }
    EXPECT_EQ(order, "abcdefg");
    second.finish();
}

TEST(ImageRenderingReadTest, CompletesOnTheHandlersExecutor) {
    asio::io_context loop;
    std::thread::id thread;
    const auto handler = [&](const std::exception_ptr& /*error*/, int result) {
        EXPECT_EQ(result, 7);
        thread = std::this_thread::get_id();
    };
    const auto body = [] { return 7; };
    ImageRendering::read(ReadingPriority::normal, body, asio::bind_executor(loop, handler));
    loop.run();
    EXPECT_EQ(thread, std::this_thread::get_id());

    const auto throws = []() -> int { throw 42; };
    EXPECT_THROW(ImageRendering::read(ReadingPriority::low, throws, use_future).get(), int);
}

TEST_F(ReadingQueueTest, CancelsWaitingBodiesAtItsEnd) {
    std::array<std::string, 2> outcomes;
    // Each thread has to complete one of the two.
    std::latch isCompleting(2);
    for (std::string& outcome : outcomes) {
        queue->run(
            ReadingPriority::veryHigh, [] {},
            [&](const std::exception_ptr& error) {
                outcome = failureOf([&] { error ? std::rethrow_exception(error) : void(); });
                isCompleting.arrive_and_wait();
            });
    }
    auto end = std::async(std::launch::async, [&] { queue.reset(); });
    EXPECT_EQ(end.wait_for(aMoment), std::future_status::timeout) << "bodies are still running";
    first.finish();
    second.finish();
    end.get();
    EXPECT_THAT(outcomes, testing::Each("canceled"));
}

} // namespace
} // namespace tarnwick::test
