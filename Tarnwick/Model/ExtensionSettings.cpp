#include "Tarnwick/Model/ExtensionSettings.h"

#include "Tarnwick/QtSupport/QtConversions.h"

#include <algorithm>
#include <exception>
#include <utility>

namespace tarnwick {

using State = FileManagerExtensions::State;

ExtensionSettings::ExtensionSettings(FileManagerExtensions& extensions, QObject* parent)
    : QAbstractListModel(parent), extensions_(extensions), worker_(mainThread_.executor(), 1) {}

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
        return state.name;
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
    run([](FileManagerExtensions&) {}, [] {});
}

void ExtensionSettings::setEnabled(int row, bool isEnabled) {
    if (row < 0 || row >= count()) {
        return;
    }
    Row& switched = rows_[static_cast<std::size_t>(row)];
    ++switched.pendingSwitches;
    run([name = switched.state.name,
         isEnabled](FileManagerExtensions& extensions) { extensions.setEnabled(name, isEnabled); },
        [this, name = switched.state.name] { endSwitch(name); });
    showEnabled(row, isEnabled);
}

void ExtensionSettings::showExtensionManagementInterface() {
    reload();
    emit showRequested();
}

void ExtensionSettings::run(Change change, std::function<void()> completion) {
    worker_.run(
        [&extensions = extensions_, change = std::move(change)] { return perform(extensions, change); },
        [this, completion = std::move(completion)](const std::exception_ptr&, const Outcome& outcome) {
            completion();
            show(outcome);
        });
}

ExtensionSettings::Outcome ExtensionSettings::perform(FileManagerExtensions& extensions,
                                                      const Change& change) {
    Outcome outcome;
    try {
        change(extensions);
    } catch (const std::exception&) {
        outcome.failure = errorText(std::current_exception());
    }
    try {
        outcome.states = extensions.states();
    } catch (const std::exception&) {
        outcome.failure = errorText(std::current_exception());
    }
    return outcome;
}

void ExtensionSettings::endSwitch(const QString& name) {
    for (Row& row : rows_) {
        // A row that was removed and inserted again meanwhile has no pending switch.
        if (row.state.name == name && row.pendingSwitches > 0) {
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
    return std::equal(rows_.begin(), rows_.end(), states.begin(), states.end(),
                      [](const Row& row, const State& state) { return row.state.name == state.name; });
}

void ExtensionSettings::makeRows(const States& states) {
    std::vector<Row> rows;
    for (const State& state : states) {
        // A row that stays keeps its pending switches.
        const auto old = std::find_if(rows_.begin(), rows_.end(),
                                      [&](const Row& row) { return row.state.name == state.name; });
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
