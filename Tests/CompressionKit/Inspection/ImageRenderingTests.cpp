#include "Foundation/CompressionError.h"
#include "Foundation/FileOperations.h"
#include "Foundation/FileSystemError.h"
#include "Inspection/ImageRendering.h"
#include "Support/JPEGMaker.h"
#include "Support/PNGMaker.h"
#include "Support/TemporaryFolder.h"

#include <asio/io_context.hpp>
#include <asio/use_future.hpp>
#include <fcntl.h>
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <future>
#include <system_error>
#include <thread>

// The counter of an exception's owners lives in the C++ library, where the thread sanitizer doesn't see it.
extern "C" const char* __tsan_default_suppressions() { // NOLINT(bugprone-reserved-identifier)
    return "race:std::__exception_ptr::exception_ptr::_M_release";
}

namespace tarnwick::test {
namespace {

using namespace std::chrono_literals;
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

/// Keeps whoever opens the file waiting, while it lives.
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

    /// Whether someone has come to open the file.
    bool isWanted() const {
        const auto deadline = std::chrono::steady_clock::now() + 30s;
        while (::fcntl(file_.get(), F_GETLEASE) == F_WRLCK) {
            if (std::chrono::steady_clock::now() > deadline) {
                return false;
            }
            std::this_thread::sleep_for(1ms);
        }
        return true;
    }
    void release() { file_.reset(); }

private:
    void (*previous_)(int);
    FileDescriptor file_;
};

/// A body that runs until it is told to end, and notes its name when it begins.
class HeldBody {
public:
    HeldBody(ReadingQueue& queue, ReadingPriority priority)
        : done_(queue.run(
              priority, [this] { started_.set_value(), end_.get_future().wait(); }, use_future)) {}

    void awaitStart() { start_.wait(); }
    void finish() {
        end_.set_value();
        done_.get();
    }

private:
    std::promise<void> started_;
    std::promise<void> end_;
    std::future<void> start_ = started_.get_future();
    std::future<void> done_;
};

class ImageRenderingTests : public testing::Test {
protected:
    std::future<ComparisonImages> compare(std::optional<std::string> originalHash = {},
                                          std::optional<std::string> replacementHash = {}) const {
        return ImageRendering::comparisonImages(original_, compressed_, std::move(originalHash),
                                                std::move(replacementHash), use_future);
    }

    TemporaryFolder folder_;
    const URL original_ = folder_.file("original.png", "");
    const URL compressed_ = folder_.file("compressed.jpg", "");

    void SetUp() override {
        writePNG(original_, {.width = 40, .height = 20});
        writeJPEG(compressed_, {.width = 40, .height = 20, .orientation = 6});
    }
};

TEST_F(ImageRenderingTests, decodesAtTheSizeAskedFor) {
    const auto whole = ImageRendering::decode(compressed_, std::nullopt);
    EXPECT_EQ(whole->width, 20);
    EXPECT_EQ(whole->height, 40);
    EXPECT_EQ(ImageRendering::comparisonImage(compressed_)->pixels, whole->pixels);
    const auto thumbnail = ImageRendering::thumbnail(compressed_, 10);
    EXPECT_EQ(thumbnail->width, 5);
    EXPECT_EQ(thumbnail->height, 10);

    const URL remote = *URL::parse("https://example.org/picture.png");
    // Such a location has the path of a file that is there.
    const URL foreign = *URL::parse("trash:" + original_.path());
    for (const URL& url : {remote, foreign}) {
        EXPECT_EQ(failureOf([&] { ImageRendering::comparisonImage(url); }), notLocal);
        EXPECT_EQ(failureOf([&] { ImageRendering::thumbnail(url, 10); }), undecodable);
    }
    for (const std::int64_t size : {0, -5}) {
        EXPECT_EQ(failureOf([&] { ImageRendering::thumbnail(original_, size); }), undecodable);
    }
    const URL text = folder_.file("text.png", "no picture");
    for (const URL& url : {text, folder_ / "absent.png", folder_.url()}) {
        EXPECT_EQ(failureOf([&] { ImageRendering::comparisonImage(url); }), undecodable);
        EXPECT_EQ(failureOf([&] { ImageRendering::thumbnail(url, 10); }), undecodable);
    }
}

TEST_F(ImageRenderingTests, comparesOnlyTheFilesThatWereRecorded) {
    const std::string a = hash(original_);
    const std::string b = hash(compressed_);
    for (auto pending :
         {compare().share(), compare(a).share(), compare({}, b).share(), compare(a, b).share()}) {
        EXPECT_EQ(pending.get().original->width, 40);
        EXPECT_EQ(pending.get().compressed->width, 20);
    }
    EXPECT_EQ(failureOf([&] { compare(b, b).get(); }), changedBefore);
    EXPECT_EQ(failureOf([&] { compare(a, a).get(); }), changedBefore);
    EXPECT_EQ(failureOf([&] { compare("", {}).get(); }), changedBefore);

    folder_.file("compressed.jpg", "no picture");
    EXPECT_EQ(failureOf([&] { compare(a).get(); }), undecodable);
    EXPECT_EQ(failureOf([&] { compare(a, b).get(); }), changedBefore) << "before anything is decoded";
    std::remove(compressed_.c_str());
    EXPECT_THROW(compare(a, b).get(), FileSystemError);
}

TEST_F(ImageRenderingTests, noticesAReplacementWhileItReads) {
    const URL other = folder_ / "other.png";
    writePNG(other, {.width = 10, .height = 10});
    {
        Lease firstHash(compressed_);
        auto pending = compare();
        ASSERT_TRUE(firstHash.isWanted());
        // The original's hash is known by now, the other not yet.
        Lease decoding(original_);
        firstHash.release();
        ASSERT_TRUE(decoding.isWanted());
        atomicRename(other, compressed_);
        decoding.release();
        EXPECT_EQ(failureOf([&] { pending.get(); }), changedMeanwhile);
    }
    writePNG(other, {.width = 10, .height = 10});
    Lease firstHash(compressed_);
    auto pending = compare(hash(original_), std::nullopt);
    ASSERT_TRUE(firstHash.isWanted());
    atomicRename(other, original_);
    firstHash.release();
    EXPECT_EQ(failureOf([&] { pending.get(); }), changedMeanwhile);
}

TEST(ReadingQueue, runsTwoAtATimeTheMostUrgentFirst) {
    ReadingQueue queue;
    HeldBody first(queue, ReadingPriority::veryLow);
    HeldBody second(queue, ReadingPriority::veryLow);
    first.awaitStart();
    second.awaitStart();

    std::string order;
    std::vector<std::future<void>> waiting;
    const auto submit = [&](ReadingPriority priority, char name) {
        waiting.push_back(queue.run(
            priority, [&order, name] { order += name; }, use_future));
    };
    submit(ReadingPriority::veryLow, 'g');
    submit(ReadingPriority::normal, 'd');
    submit(ReadingPriority::high, 'b');
    submit(ReadingPriority::normal, 'e');
    submit(ReadingPriority::low, 'f');
    submit(ReadingPriority::high, 'c');
    submit(ReadingPriority::veryHigh, 'a');
    EXPECT_EQ(waiting.back().wait_for(200ms), std::future_status::timeout) << "two are running";
    // One thread alone, so that the order is that of the beginnings.
    first.finish();
    for (auto& body : waiting) {
        body.get();
    }
    EXPECT_EQ(order, "abcdefg");
    second.finish();
}

TEST(ReadingQueue, handsOverEveryOutcomeOnTheHandlersExecutor) {
    ReadingQueue queue;
    asio::io_context loop;
    std::thread::id thread;
    auto token = std::make_shared<int>();
    const auto handler = [&](const std::exception_ptr& error, const std::string& text) {
        EXPECT_EQ(error, nullptr);
        EXPECT_EQ(text, "moved");
        EXPECT_EQ(token.use_count(), 1) << "the queue keeps what it was given";
        thread = std::this_thread::get_id();
    };
    auto body = [token, text = std::string("moved")]() mutable { return std::move(text); };
    queue.run(ReadingPriority::normal, std::move(body), asio::bind_executor(loop, handler));
    loop.run();
    EXPECT_EQ(thread, std::this_thread::get_id());

    const auto throws = []() -> int { throw 42; };
    EXPECT_THROW(ImageRendering::read(ReadingPriority::low, throws, use_future).get(), int);
    EXPECT_EQ(ImageRendering::read(
                  ReadingPriority::low, [] { return 7; }, use_future)
                  .get(),
              7);
}

TEST(ReadingQueue, endsWhileBodiesWait) {
    std::optional<ReadingQueue> queue(std::in_place);
    HeldBody first(*queue, ReadingPriority::normal);
    HeldBody second(*queue, ReadingPriority::normal);
    first.awaitStart();
    second.awaitStart();
    bool isRun = false;
    auto waiting = queue->run(
        ReadingPriority::veryHigh, [&] { isRun = true; }, use_future);
    auto end = std::async(std::launch::async, [&] { queue.reset(); });
    EXPECT_EQ(end.wait_for(200ms), std::future_status::timeout) << "bodies are still running";
    first.finish();
    EXPECT_EQ(failureOf([&] { waiting.get(); }), "canceled");
    second.finish();
    end.get();
    EXPECT_FALSE(isRun);
}

TEST(ReadingQueueDeathTest, endsWithItsProcess) {
    // The parent's threads would not be there in a fork.
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto leaveWithWaitingBodies = [] {
        std::atomic<int> running = 0;
        for (int i = 0; i < 3; ++i) {
            ImageRendering::read(
                ReadingPriority::normal, [&running] { ++running, std::this_thread::sleep_for(300ms); },
                [](const std::exception_ptr& error) {
                    std::fputs(error ? "canceled\n" : "completed\n", stderr);
                });
        }
        while (running < 2) {
            std::this_thread::sleep_for(1ms);
        }
        std::exit(7);
    };
    EXPECT_EXIT(leaveWithWaitingBodies(), testing::ExitedWithCode(7), "canceled");
}

} // namespace
} // namespace tarnwick::test
