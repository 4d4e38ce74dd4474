#include "Tarnwick/ModelFixture.h"

#include <asio/use_future.hpp>

#include <QLoggingCategory>
#include <QTest>

namespace tarnwick::test {

bool runUntil(const std::function<bool()>& condition) {
    return waitUntil(condition, [] { QTest::qWait(1); });
}

std::string names(const ImageTaskListModel& tasks) {
    std::string all;
    for (int row = 0; row < tasks.count(); ++row) {
        all += tasks.at(row).displayName() + " ";
    }
    return all;
}

Log::Log(bool withDebugOutput) {
    lines.clear();
    QLoggingCategory::setFilterRules(withDebugOutput ? "tarnwick.debug=true" : "");
    qInstallMessageHandler([](QtMsgType, const QMessageLogContext&, const QString& message) {
        lines += message.toStdString() + "\n";
    });
}

Log::~Log() {
    qInstallMessageHandler(nullptr);
    QLoggingCategory::setFilterRules("");
}

Registration FakeDesktop::startTimer(double seconds, std::function<void()> handler) {
    wait = seconds;
    timeout_ = std::move(handler);
    return Registration([this, number = ++timers_] {
        if (number == timers_) {
            wait.reset();
        }
    });
}

ModelFixture::ModelFixture() {
    tools.scores({"90"});
    for (const char* tool : {"pngquant", "oxipng"}) {
        tools.script(tool, {{"output", home.file("output.png", small).path()}});
    }
}

void ModelFixture::makeModel() {
    model.emplace(AppServices{*queue, desktop, desktop, desktop, desktop, desktop, desktop, alerts},
                  engine());
    tester_.emplace(model->tasks(), QAbstractItemModelTester::FailureReportingMode::Fatal);
}

void ModelFixture::start() {
    makeModel();
    ASSERT_TRUE(runUntil([this] {
        return desktop.hasToldTime && model->tasks()->count() == std::ssize(store.records()) &&
               isMaintained();
    }));
}

void ModelFixture::settle() {
    ASSERT_TRUE(runUntil([this] { return !model->isCompressing() && isMaintained(); }));
}

UndoRecord ModelFixture::replaced(const std::string& name, double age) const {
    const URL file = largePicture(name);
    UndoRecord record = store.prepare(file, home.file("winner.png", small), UUID::random());
    pictures.file(name, small);
    record.createdAt = Date::now().adding(-age);
    return store.commit(record);
}

HeldJob ModelFixture::hold(const URL& file) {
    return HeldJob([&](const HeldJob::Body& body) { return queue->run(file, body, asio::use_future); });
}

std::vector<std::string> ModelFixture::rows() {
    const int count = model->tasks()->count();
    std::vector<std::string> lines;
    lines.reserve(static_cast<std::size_t>(count));
    for (int number = 0; number < count; ++number) {
        lines.push_back(row(number).displayName() + ": " + row(number).statusText());
    }
    return lines;
}

} // namespace tarnwick::test
