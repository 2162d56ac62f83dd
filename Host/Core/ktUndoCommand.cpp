// SPDX-License-Identifier: LGPL-2.1-or-later
// Base class of undo commands: change times, ids per command type, and descriptions for the history.
#include "ktUndoCommand.h"

#include "ktMessage.h"

#include <mutex>
#include <QDateTime>
#include <unordered_map>

ktUndoCommand::ktUndoCommand(const QString& text, QUndoCommand* parent)
    : QUndoCommand(text, parent), changeTime_ms(QDateTime::currentMSecsSinceEpoch()) {}

ktUndoCommand::~ktUndoCommand() = default;

void ktUndoCommand::makeMessage(ktMessage& message) const {
    message.set("text", std::string(text().toUtf8().constData()), true);
}

bool ktUndoCommand::canMergeWith(const QUndoCommand* other) const {
    return other != nullptr;
}

int ktUndoCommand::makeId(std::type_index type) {
    static std::mutex mutex;
    static auto& ids = *new std::unordered_map<std::type_index, int>; // never destroyed: static objects may use it
    const std::lock_guard<std::mutex> lock(mutex);
    return ids.emplace(type, static_cast<int>(ids.size()) + 1).first->second;
}
