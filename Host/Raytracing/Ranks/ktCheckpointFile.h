// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

/// 64 bits that depend on all bytes. @param start another value gives other bits
std::uint64_t ktHashBytes(const void* bytes, std::size_t size, std::uint64_t start = 0);
std::uint64_t ktHashBytes(const std::vector<char>& bytes, std::uint64_t start = 0);

/// The file of a checkpoint: a head with an identity, then records. What a killed process left at its end is cut off.
class ktCheckpointFile {
public:
    enum class Kind : std::uint32_t {
        Batch,    ///< results of items of a loop
        Geometry, ///< results of a whole geometry
        Scene     ///< nothing: its hash is that of the scene
    };
    /// What comes before the bytes of a record.
    struct Head {
        std::uint64_t hash = 0;           ///< of all that the results depend on
        std::uint64_t begin = 0, end = 0; ///< Batch: items
        Kind kind = Kind::Batch;
        std::uint32_t repetition = 0; ///< Batch: how many loops with this hash came before
        std::uint64_t size = 0;       ///< bytes that follow
        std::uint64_t check = 0;      ///< of all above and of these bytes
    };
    /// Where the bytes of a record are.
    struct Place {
        std::uint64_t at = 0, size = 0; ///< bytes
    };
    using OnRecord = std::function<void(const Head& head, std::vector<char>&& bytes, Place place)>;

    /// Opens the file and reads all records, or makes a new one.
    /// @throws std::runtime_error with the reason, without the file's name: it cannot be read or written, is no
    ///         checkpoint, or has another identity
    ktCheckpointFile(const std::string& fileName, const std::string& identity, const OnRecord& onRecord);
    /// Writes the rest and keeps the file.
    ~ktCheckpointFile();
    ktCheckpointFile(const ktCheckpointFile&) = delete;
    ktCheckpointFile& operator=(const ktCheckpointFile&) = delete;

    /// Adds a record. Sets its size and check. Any thread. @param mostUnflushed records that a killed process may lose
    void append(Head head, const std::vector<char>& bytes, std::size_t mostUnflushed);
    /// Any thread.
    void flush();
    /// The bytes of a record that the file had when it was opened. Any thread.
    /// @throws std::runtime_error if they cannot be read
    std::vector<char> read(Place place) const;
    /// Why the file cannot be written any more; empty: it can. What follows is then not kept.
    std::string writeError() const;

private:
    void readAll(const std::string& identity, const OnRecord& onRecord);
    bool readRecord(std::uint64_t size, Head& head, std::vector<char>& bytes) const;
    void write(const void* bytes, std::size_t size);
    void flushLocked();

    std::FILE* file = nullptr;
    mutable std::mutex mutex; // for all below and for writing
    std::string error;
    std::size_t unflushed = 0; // records
};
