#include "Foundation/CompressionError.h"
#include "Foundation/FileOperations.h"
#include "Foundation/FileSystemError.h"
#include "Inspection/ImageRendering.h"
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

constexpr const char* notLocal = "请选择本地图片文件";
constexpr const char* undecodable = "图片无法解码";
constexpr const char* changedBefore = "图片文件已被修改，无法对比";
constexpr const char* changedMeanwhile = "图片文件在载入过程中被修改，请重新打开对比";

template <typename Work>
std::string failureOf(Work work) {
    try {
        work();
        return "no failure";
    } catch (const std::system_error& error) {
        return error.code() == std::errc::operation_canceled ? "canceled" : error.what();
    } catch (const CompressionError& error) {
        return error.errorDescription();
    }
}

/// Blocks everyone who opens the file, until it is released.
class Lease {
public:
    explicit Lease(const URL& url) : previous_(std::signal(SIGIO, SIG_IGN)), file_(openForReading(url)) {
        if (::fcntl(file_.get(), F_SETLEASE, F_WRLCK) != 0) {
            throw std::system_error(errno, std::generic_category(), "no lease");
        }
    }
    ~Lease() { static_cast<void>(std::signal(SIGIO, previous_)); }
    Lease(const Lease&) = delete;
    Lease& operator=(const Lease&) = delete;

    /// Waits until the file is being opened.
    bool isWanted() const {
        return waitUntil([this] { return ::fcntl(file_.get(), F_GETLEASE) != F_WRLCK; });
    }
    void release() { file_.reset(); }

private:
    void (*previous_)(int);
    FileDescriptor file_;
};

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
    for (const std::int64_t size : {0, -5}) {
        EXPECT_EQ(failureOf([&] { ImageRendering::thumbnail(original, size); }), undecodable);
    }
    const auto refuse = [](const URL& url, const char* comparison) {
        EXPECT_EQ(failureOf([&] { ImageRendering::comparisonImage(url); }), comparison);
        EXPECT_EQ(failureOf([&] { ImageRendering::thumbnail(url, 10); }), undecodable);
    };
    refuse(*URL::parse("https://example.org/picture.png"), notLocal);
    refuse(*URL::parse("trash:" + original.path()), notLocal);
    refuse(folder.file("text.png", "no picture"), undecodable);
    refuse(folder / "absent.png", undecodable);
    refuse(folder.url(), undecodable);
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
    for (const URL& replaced : {compressed, original}) {
        copyPicture("photo.png", original);
        copyPicture("photo-turned.jpg", compressed);
        Lease hashingCompressed(compressed);
        auto pending = compare(hash(original), std::nullopt);
        ASSERT_TRUE(hashingCompressed.isWanted());
        // The original's hash is known by now, and that of the compressed file when the original is decoded.
        Lease decodingOriginal(original);
        hashingCompressed.release();
        ASSERT_TRUE(decodingOriginal.isWanted());
        atomicRename(copyPicture("tiny.png", folder / "other.png"), replaced);
        decodingOriginal.release();
        EXPECT_EQ(failureOf([&] { pending.get(); }), changedMeanwhile);
    }
}

class ReadingQueueTest : public testing::Test {
protected:
    HeldJob held(ReadingPriority priority = ReadingPriority::normal) {
        return HeldJob([&](HeldJob::Body body) { return queue->run(priority, std::move(body), use_future); });
    }

    std::optional<ReadingQueue> queue{std::in_place};
};

TEST_F(ReadingQueueTest, RunsTwoAtATimeTheMostUrgentFirst) {
    HeldJob first = held(ReadingPriority::veryLow);
    HeldJob second = held(ReadingPriority::veryLow);
    ASSERT_TRUE(first.hasBegun());
    ASSERT_TRUE(second.hasBegun());

    std::string order;
    std::vector<std::future<void>> waiting;
    using enum ReadingPriority;
    for (const auto& [priority, name] :
         {std::pair(veryLow, 'g'), std::pair(normal, 'd'), std::pair(high, 'b'), std::pair(normal, 'e'),
          std::pair(low, 'f'), std::pair(high, 'c'), std::pair(veryHigh, 'a')}) {
        waiting.push_back(queue->run(
            priority, [&order, name = name] { order += name; }, use_future));
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

TEST_F(ReadingQueueTest, CompletesOnTheHandlersExecutor) {
    asio::io_context loop;
    std::thread::id thread;
    auto token = std::make_shared<int>();
    const auto handler = [&](const std::exception_ptr& error, const std::string& text) {
        EXPECT_EQ(error, nullptr);
        EXPECT_EQ(text, "moved");
        EXPECT_EQ(token.use_count(), 1) << "the body was not destroyed";
        thread = std::this_thread::get_id();
    };
    auto body = [token, text = std::string("moved")]() mutable { return std::move(text); };
    queue->run(ReadingPriority::normal, std::move(body), asio::bind_executor(loop, handler));
    loop.run();
    EXPECT_EQ(thread, std::this_thread::get_id());

    const auto throws = []() -> int { throw 42; };
    EXPECT_THROW(ImageRendering::read(ReadingPriority::low, throws, use_future).get(), int);
    const auto returns = [] { return 7; };
    EXPECT_EQ(ImageRendering::read(ReadingPriority::low, returns, use_future).get(), 7);
}

TEST_F(ReadingQueueTest, CancelsWaitingBodiesAtItsEnd) {
    HeldJob first = held();
    HeldJob second = held();
    ASSERT_TRUE(first.hasBegun());
    ASSERT_TRUE(second.hasBegun());
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
