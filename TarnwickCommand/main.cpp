#include "Foundation/CompressionError.h"
#include "Foundation/Environment.h"
#include "Foundation/Text.h"
#include "Process/Signals.h"
#include "Tarnwick/Desktop/ApplicationBundle.h"
#include "Tarnwick/Desktop/BundleHelperLauncher.h"
#include "TarnwickCommand/Arguments.h"
#include "TarnwickCommand/ClearCommand.h"
#include "TarnwickCommand/CompressCommand.h"
#include "TarnwickCommand/DeleteCommand.h"
#include "TarnwickCommand/HistoryCommand.h"
#include "TarnwickCommand/InspectCommand.h"
#include "TarnwickCommand/MaintainCommand.h"
#include "TarnwickCommand/RestoreCommand.h"

#include <unistd.h>

#include <clocale>
#include <string>
#include <vector>

namespace {

using namespace tarnwick;

/// The C library's error texts come in the user's language.
void useSystemLanguage() {
    static_cast<void>(std::setlocale(LC_CTYPE, ""));
    static_cast<void>(std::setlocale(LC_MESSAGES, ""));
}

int dispatch(const Invocation& invocation, const CommandContext& context) {
    switch (invocation.command) {
    case Invocation::Command::compress:
        return runCompress(context, invocation.operands, invocation.isAgain);
    case Invocation::Command::inspect:
        return runInspect(context, invocation.operands);
    case Invocation::Command::history:
        return runHistory(context);
    case Invocation::Command::restore:
        return runRestore(context, invocation.operands);
    case Invocation::Command::deleteRecords:
        return runDelete(context, invocation.operands);
    case Invocation::Command::clear:
        return runClear(context, invocation.isConfirmed);
    case Invocation::Command::maintain:
        return runMaintain(context);
    }
    return ExitStatus::failure;
}

int run(const Invocation& invocation, const Output& output) {
    const auto bundle = ApplicationBundle::running();
    const URL tools =
        invocation.toolDirectory ? URL::file(*invocation.toolDirectory) : bundle.toolDirectory();
    const UndoStore undo(invocation.store ? std::optional(URL::file(*invocation.store)) : std::nullopt);
    try {
        BundleHelperLauncher keeper(bundle.helperExecutable());
        return dispatch(invocation, {output, undo, tools, signalCancellation(), invocation.json,
                                     invocation.store ? nullptr : &keeper});
    } catch (const Cancelled&) {
        if (!invocation.json) {
            output.writeLine("已停止。");
        }
        return ExitStatus::failure;
    }
}

int print(const Reply& reply, const Output& output) {
    if (reply.status == ExitStatus::success) {
        output.write(reply.text);
    } else {
        Output(STDERR_FILENO).write(reply.text);
    }
    return reply.status;
}

int guardedRun(const std::vector<std::string>& arguments) {
    try {
        const Output output(STDOUT_FILENO);
        const auto parsed = parseArguments(arguments);
        const auto* reply = std::get_if<Reply>(&parsed);
        return reply != nullptr ? print(*reply, output) : run(std::get<Invocation>(parsed), output);
    } catch (const std::exception& error) {
        printError(displayText(errorDescription(error)));
        return ExitStatus::failure;
    }
}

} // namespace

int main(int argc, char** argv) {
    prepareEnvironment();
    useSystemLanguage();
    installSignalHandlers();
    const int status = guardedRun({argv + (argc > 0 ? 1 : 0), argv + argc});
    endByReceivedSignal();
    return status;
}
