// SPDX-License-Identifier: LGPL-2.1-or-later
// Keeps the bytes of undo in memory, and beyond a limit in temporary files.
#include "ktUndoMemory.h"

#include "ktLog.h"

#include <algorithm>
#include <list>
#include <QDir>
#include <QTemporaryFile>
#include <utility>

struct ktUndoMemory::Block::Data {
    std::vector<std::uint8_t> bytes;
    std::size_t size = 0;
    std::unique_ptr<QTemporaryFile> file; // null: the bytes are in memory
    bool cannotMove = false;              // a temporary file could not be written
    std::list<Data*>::iterator place;     // in State::inMemory, while the bytes are in memory
};

struct ktUndoMemory::State {
    std::uint64_t limit = std::uint64_t(512) << 20, used = 0;
    std::list<Block::Data*> inMemory; // the oldest first

    static State& the() {
        static auto& instance = *new State; // never destroyed: the undo stack is not, either
        return instance;
    }
};

ktUndoMemory::Block::Block() = default;
ktUndoMemory::Block::Block(Block&&) noexcept = default;

ktUndoMemory::Block& ktUndoMemory::Block::operator=(Block&& other) noexcept {
    std::swap(data, other.data);
    return *this;
}

ktUndoMemory::Block::Block(std::vector<std::uint8_t> bytes) {
    if (bytes.empty())
        return;
    data = std::make_unique<Data>();
    data->size = bytes.size();
    data->bytes = std::move(bytes);
    State& all = State::the();
    all.used += data->size;
    data->place = all.inMemory.insert(all.inMemory.end(), data.get());
    keepLimit();
}

ktUndoMemory::Block::~Block() {
    if (!data || data->file)
        return;
    State::the().used -= data->size;
    State::the().inMemory.erase(data->place);
}

std::size_t ktUndoMemory::Block::size() const {
    return data ? data->size : 0;
}

std::vector<std::uint8_t> ktUndoMemory::Block::read(Data& data) {
    std::vector<std::uint8_t> bytes(data.size);
    const auto wanted = static_cast<qint64>(bytes.size());
    QTemporaryFile& file = *data.file;
    if (file.seek(0) && file.read(reinterpret_cast<char*>(bytes.data()), wanted) == wanted)
        return bytes;
    ktLog::error("%s: results for undo cannot be read: %s", qPrintable(file.fileName()),
                 qPrintable(file.errorString()));
    return {};
}

bool ktUndoMemory::Block::isEqual(const std::uint8_t* bytes, std::size_t size) const {
    if (!data || size != data->size)
        return !data && size == 0;
    const std::vector<std::uint8_t> inFile = data->file ? read(*data) : std::vector<std::uint8_t>();
    const std::vector<std::uint8_t>& kept = data->file ? inFile : data->bytes;
    return kept.size() == size && std::equal(kept.begin(), kept.end(), bytes);
}

std::vector<std::uint8_t> ktUndoMemory::Block::take() {
    Block taken;
    std::swap(taken.data, data);
    if (!taken.data)
        return {};
    if (!taken.data->file)
        return std::move(taken.data->bytes);
    std::vector<std::uint8_t> bytes = read(*taken.data);
    bytes.resize(taken.data->size);
    return bytes;
}

void ktUndoMemory::keepLimit() {
    State& all = State::the();
    for (auto next = all.inMemory.begin(); all.used > all.limit && next != all.inMemory.end();) {
        auto* const block = *next;
        auto file = std::make_unique<QTemporaryFile>(QDir::tempPath() + "/ktstudio-undo-");
        const auto size = static_cast<qint64>(block->size);
        if (block->cannotMove || !file->open() ||
            file->write(reinterpret_cast<const char*>(block->bytes.data()), size) != size || !file->flush()) {
            if (!std::exchange(block->cannotMove, true))
                ktLog::warning("%s: results for undo stay in memory: %s", qPrintable(file->fileTemplate()),
                               qPrintable(file->errorString()));
            ++next;
            continue;
        }
        block->file = std::move(file);
        block->bytes = {};
        all.used -= block->size;
        next = all.inMemory.erase(next);
    }
}

void ktUndoMemory::setLimit(std::uint64_t bytes) {
    State::the().limit = bytes;
    keepLimit();
}

std::uint64_t ktUndoMemory::getLimit() {
    return State::the().limit;
}

std::uint64_t ktUndoMemory::getUsed() {
    return State::the().used;
}
