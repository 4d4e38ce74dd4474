#include "Tarnwick/ModelFixture.h"

#include "Foundation/FileContents.h"

#include <asio/use_future.hpp>

#include <QLoggingCategory>
#include <QTest>
#include <utility>

namespace tarnwick::test {

bool waitUntil(const std::function<bool()>& condition) {
    constexpr int patienceInMilliseconds = 60'000;
    return QTest::qWaitFor(condition, patienceInMilliseconds);
}

std::string Log::lines_;

Log::Log(bool withDebugOutput) {
    lines_.clear();
    QLoggingCategory::setFilterRules(withDebugOutput ? "tarnwick.debug=true" : "");
    qInstallMessageHandler(&Log::add);
}

Log::~Log() {
    qInstallMessageHandler(nullptr);
    QLoggingCategory::setFilterRules("");
}

void Log::add(QtMsgType, const QMessageLogContext&, const QString& message) {
    lines_ += message.toStdString() + "\n";
}

Registration FakeDesktop::observe(NotificationName name, std::function<void()> handler) {
    EXPECT_EQ(name, NotificationName::historyDidChange);
    historyDidChange = std::move(handler);
    return Registration([this] { historyDidChange = nullptr; });
}

Registration FakeDesktop::observeWake(std::function<void()> handler) {
    didWake = std::move(handler);
    return Registration([this] { didWake = nullptr; });
}

void FakeDesktop::open(const QStringList& nameFilters, Callback callback) {
    filters = nameFilters;
    chosen = std::move(callback);
}

Registration FakeDesktop::startTimer(double seconds, std::function<void()> handler) {
    wait = seconds;
    timeout_ = std::move(handler);
    const int number = ++timers_;
    return Registration([this, number] {
        if (number == timers_) {
            wait.reset();
        }
    });
}

void FakeDesktop::fireTimer() {
    wait.reset();
    timeout_();
}

ModelFixture::ModelFixture() {
    tools.scores({"90"});
    for (const char* tool : {"pngquant", "oxipng"}) {
        tools.script(tool, {{"output", prepared("output.png", small).path()}});
    }
}

void ModelFixture::makeModel() {
    const AppServices services = {.queue = *queue,
                                  .notifications = desktop,
                                  .wake = desktop,
                                  .helper = desktop,
                                  .chooser = desktop,
                                  .revealer = desktop,
                                  .clock = desktop};
    model.emplace(services, engine(cancellation), cancellation);
    tester_.emplace(model->tasks(), QAbstractItemModelTester::FailureReportingMode::Fatal);
}

void ModelFixture::start() {
    makeModel();
    ASSERT_TRUE(waitUntil([this] {
        return model->tasks()->count() == std::ssize(store.records()) &&
               desktop.wait.has_value() == store.nextBackupExpiration().has_value();
    }));
}

void ModelFixture::settle() {
    ASSERT_TRUE(waitUntil([this] {
        return !model->isCompressing() &&
               desktop.wait.has_value() == store.nextBackupExpiration().has_value();
    }));
}

UndoRecord ModelFixture::replaced(const std::string& name, double age) const {
    const URL file = picture(name, large);
    UndoRecord record = store.prepare(file, prepared("winner.png", small), UUID::random());
    writeFile(file, small);
    record.createdAt = Date::now().adding(-age);
    return store.commit(record);
}

QString ModelFixture::text(int number, ImageTaskListModel::Role role) {
    return model->tasks()->index(number).data(role).toString();
}

bool ModelFixture::can(int number, ImageTaskListModel::Role role) {
    return model->tasks()->index(number).data(role).toBool();
}

std::vector<std::string> ModelFixture::rows() {
    std::vector<std::string> lines;
    for (int number = 0; number < model->tasks()->count(); ++number) {
        lines.push_back(text(number, ImageTaskListModel::FileName).toStdString() + ": " +
                        text(number, ImageTaskListModel::StatusText).toStdString());
    }
    return lines;
}

Occupation::Occupation(CompressionQueue& queue, const URL& file) {
    std::promise<void> started;
    std::future<void> running = started.get_future();
    job_ = queue.run(
        file, [end = end_.get_future().share(), &started] { started.set_value(), end.wait(); },
        asio::use_future);
    running.wait();
}

Occupation::~Occupation() {
    end_.set_value();
    job_.wait();
}

} // namespace tarnwick::test
