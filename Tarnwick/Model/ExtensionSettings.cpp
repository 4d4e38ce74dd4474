#include "Tarnwick/Model/ExtensionSettings.h"

#include "Tarnwick/QtSupport/QtConversions.h"

#include <algorithm>
#include <exception>
#include <utility>

namespace tarnwick {

using State = FileManagerMenus::State;

ExtensionSettings::ExtensionSettings(FileManagerMenus menus, QObject* parent)
    : QAbstractListModel(parent), menus_(std::move(menus)), worker_(mainThread_.executor(), 1) {}

ExtensionSettings::~ExtensionSettings() = default;

int ExtensionSettings::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : count();
}

QVariant ExtensionSettings::data(const QModelIndex& index, int role) const {
    if (!checkIndex(index, CheckIndexOption::IndexIsValid)) {
        return {};
    }
    const State& state = rows_[static_cast<std::size_t>(index.row())].state;
    switch (role) {
    case Qt::DisplayRole:
    case Name:
        return QString::fromStdString(tarnwick::name(state.fileManager));
    case IsEnabled:
        return state.isEnabled;
    default:
        return {};
    }
}

QHash<int, QByteArray> ExtensionSettings::roleNames() const {
    return {{Name, "name"}, {IsEnabled, "isEnabled"}};
}

void ExtensionSettings::reload() {
    run([](const FileManagerMenus&) {}, [] {});
}

void ExtensionSettings::setEnabled(int row, bool isEnabled) {
    if (row < 0 || row >= count()) {
        return;
    }
    Row& switched = rows_[static_cast<std::size_t>(row)];
    ++switched.pendingSwitches;
    const FileManager fileManager = switched.state.fileManager;
    run([fileManager, isEnabled](const FileManagerMenus& menus) { menus.setEnabled(fileManager, isEnabled); },
        [this, fileManager] { endSwitch(fileManager); });
    showEnabled(row, isEnabled);
}

void ExtensionSettings::showExtensionManagementInterface() {
    reload();
    emit showRequested();
}

void ExtensionSettings::run(Change change, std::function<void()> completion) {
    worker_.run(
        [menus = menus_, change = std::move(change)] { return perform(menus, change); },
        [this, completion = std::move(completion)](const std::exception_ptr& error, const Outcome& outcome) {
            completion();
            show(error ? Outcome{.states = std::nullopt, .failure = errorText(error)} : outcome);
        });
}

ExtensionSettings::Outcome ExtensionSettings::perform(const FileManagerMenus& menus, const Change& change) {
    Outcome outcome;
    try {
        change(menus);
    } catch (const std::exception&) {
        outcome.failure = errorText(std::current_exception());
    }
    outcome.states = menus.states();
    std::erase_if(*outcome.states, [](const State& state) { return !state.isInstalled; });
    return outcome;
}

void ExtensionSettings::endSwitch(FileManager fileManager) {
    for (Row& row : rows_) {
        // A row that was removed and inserted again meanwhile has no pending switch.
        if (row.state.fileManager == fileManager && row.pendingSwitches > 0) {
            --row.pendingSwitches;
        }
    }
}

void ExtensionSettings::show(const Outcome& outcome) {
    const States states = outcome.states.value_or(States());
    if (!hasRowsOf(states)) {
        makeRows(states);
    }
    for (int row = 0; row < count(); ++row) {
        const auto place = static_cast<std::size_t>(row);
        if (rows_[place].pendingSwitches == 0) {
            showEnabled(row, states[place].isEnabled);
        }
    }
    if (std::exchange(isLoaded_, outcome.states.has_value()) != isLoaded_) {
        emit isLoadedChanged();
    }
    if (std::exchange(failure_, outcome.failure) != outcome.failure) {
        emit failureChanged();
    }
}

bool ExtensionSettings::hasRowsOf(const States& states) const {
    return std::equal(
        rows_.begin(), rows_.end(), states.begin(), states.end(),
        [](const Row& row, const State& state) { return row.state.fileManager == state.fileManager; });
}

void ExtensionSettings::makeRows(const States& states) {
    std::vector<Row> rows;
    for (const State& state : states) {
        // A row that stays keeps its pending switches.
        const auto old = std::find_if(rows_.begin(), rows_.end(), [&](const Row& row) {
            return row.state.fileManager == state.fileManager;
        });
        rows.push_back(old == rows_.end() ? Row{.state = state} : *old);
    }
    beginResetModel();
    rows_ = std::move(rows);
    endResetModel();
    emit countChanged();
}

void ExtensionSettings::showEnabled(int row, bool isEnabled) {
    State& state = rows_[static_cast<std::size_t>(row)].state;
    if (std::exchange(state.isEnabled, isEnabled) != isEnabled) {
        emit dataChanged(index(row), index(row), {IsEnabled});
    }
}

} // namespace tarnwick
