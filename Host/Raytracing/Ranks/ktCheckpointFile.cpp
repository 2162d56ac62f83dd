// SPDX-License-Identifier: LGPL-2.1-or-later
// Reads and writes the records of a checkpoint.
#include "ktCheckpointFile.h"

#include "ktRandom.h"

#include <cerrno>
#include <cstddef>
#include <cstring>
#include <stdexcept>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>

namespace {

constexpr char magic[] = "ktCheckpoint 2\n";
constexpr std::size_t magicNameSize = 13; // without the number of the format

static_assert(sizeof(ktCheckpointFile::Head) == 48, "no padding: it is written as it is");

std::uint64_t checkOf(const ktCheckpointFile::Head& head, const std::vector<char>& bytes) {
    return ktHashBytes(bytes, ktHashBytes(&head, offsetof(ktCheckpointFile::Head, check)));
}

std::string lastReason() {
    return std::generic_category().message(errno);
}

[[noreturn]] void failWriting() {
    throw std::runtime_error("the checkpoint cannot be written: " + lastReason());
}

} // namespace

std::uint64_t ktHashBytes(const void* bytes, std::size_t size, std::uint64_t start) {
    std::uint64_t hash = start + size, word = 0;
    const char* at = static_cast<const char*>(bytes);
    for (; size >= sizeof word; size -= sizeof word, at += sizeof word) {
        std::memcpy(&word, at, sizeof word);
        hash = ktRandom::combine(hash, word);
    }
    word = 0;
    if (size > 0) // nothing may be at a null pointer
        std::memcpy(&word, at, size);
    return ktRandom::combine(hash, word);
}

std::uint64_t ktHashBytes(const std::vector<char>& bytes, std::uint64_t start) {
    return ktHashBytes(bytes.data(), bytes.size(), start);
}

ktCheckpointFile::ktCheckpointFile(const std::string& fileName, const std::string& identity, const OnRecord& onRecord) {
    file = std::fopen(fileName.c_str(), "r+b");
    if (!file && errno == ENOENT)
        file = std::fopen(fileName.c_str(), "w+b");
    if (!file)
        throw std::runtime_error("the checkpoint cannot be opened: " + lastReason());
    try {
        readAll(identity, onRecord);
    } catch (...) {
        std::fclose(file);
        throw;
    }
}

ktCheckpointFile::~ktCheckpointFile() {
    std::fclose(file);
}

// Leaves the file open for appending after the last whole record.
void ktCheckpointFile::readAll(const std::string& identity, const OnRecord& onRecord) {
    std::string head = magic;
    const std::uint64_t size = identity.size();
    head.append(reinterpret_cast<const char*>(&size), sizeof size).append(identity);
    std::string found(head.size(), '\0');
    found.resize(std::fread(found.data(), 1, found.size(), file));
    if (found.empty()) {
        write(head.data(), head.size());
        if (!error.empty() || std::fflush(file) != 0)
            failWriting();
        return;
    }
    if (found.compare(0, magicNameSize, magic, magicNameSize) != 0)
        throw std::runtime_error("is not a checkpoint");
    if (found != head)
        throw std::runtime_error("is a checkpoint of another scene, of other settings or of another processor; "
                                 "delete it, or name another file");
    struct stat status;
    if (fstat(fileno(file), &status) != 0)
        throw std::runtime_error("the checkpoint cannot be read: " + lastReason());
    long good = std::ftell(file);
    Head record;
    std::vector<char> bytes;
    while (readRecord(static_cast<std::uint64_t>(status.st_size), record, bytes)) {
        good = std::ftell(file);
        onRecord(record, std::move(bytes), {static_cast<std::uint64_t>(good) - record.size, record.size});
    }
    if (std::fseek(file, good, SEEK_SET) != 0 || ftruncate(fileno(file), good) != 0)
        failWriting();
}

// @param size of the file. @return false after the last whole record
bool ktCheckpointFile::readRecord(std::uint64_t size, Head& head, std::vector<char>& bytes) const {
    if (std::fread(&head, sizeof head, 1, file) != 1 || head.size > size)
        return false;
    bytes.assign(head.size, '\0');
    return (bytes.empty() || std::fread(bytes.data(), bytes.size(), 1, file) == 1) &&
           checkOf(head, bytes) == head.check;
}

// The mutex is locked, or there is only one thread.
void ktCheckpointFile::write(const void* bytes, std::size_t size) {
    if (error.empty() && size > 0 && std::fwrite(bytes, 1, size, file) != size)
        error = lastReason();
}

void ktCheckpointFile::flushLocked() {
    if (error.empty() && std::fflush(file) != 0)
        error = lastReason();
    unflushed = 0;
}

void ktCheckpointFile::append(Head head, const std::vector<char>& bytes, std::size_t mostUnflushed) {
    head.size = bytes.size();
    head.check = checkOf(head, bytes);
    const std::lock_guard<std::mutex> lock(mutex);
    write(&head, sizeof head);
    write(bytes.data(), bytes.size());
    if (++unflushed >= mostUnflushed)
        flushLocked();
}

void ktCheckpointFile::flush() {
    const std::lock_guard<std::mutex> lock(mutex);
    flushLocked();
}

std::vector<char> ktCheckpointFile::read(Place place) const {
    std::vector<char> bytes(place.size);
    for (std::size_t done = 0; done < bytes.size();) {
        const ssize_t count =
            pread(fileno(file), bytes.data() + done, bytes.size() - done, static_cast<off_t>(place.at + done));
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            throw std::runtime_error("the checkpoint cannot be read: " +
                                     (count < 0 ? lastReason() : std::string("it became shorter")));
        done += static_cast<std::size_t>(count);
    }
    return bytes;
}

std::string ktCheckpointFile::writeError() const {
    const std::lock_guard<std::mutex> lock(mutex);
    return error;
}
