// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

class QTemporaryFile;

/// Bytes that undo keeps. All blocks together stay within a limit of memory: beyond it, the oldest go into temporary
/// files. Main thread only.
class ktUndoMemory {
public:
    /// Bytes of one command. Moves keep the block's age.
    class Block {
    public:
        Block();
        explicit Block(std::vector<std::uint8_t> bytes);
        ~Block();
        Block(Block&&) noexcept;
        Block& operator=(Block&&) noexcept;

        std::size_t size() const;
        /// Whether the block has these bytes. False, with an error in the log, if the temporary file cannot be read.
        bool isEqual(const std::uint8_t* bytes, std::size_t size) const;
        /// Takes the bytes out; the block is empty afterwards. Zeros, with an error in the log, if the temporary file
        /// cannot be read.
        std::vector<std::uint8_t> take();

    private:
        friend class ktUndoMemory;
        struct Data;
        static std::vector<std::uint8_t> read(Data& data);
        std::unique_ptr<Data> data;
    };

    /// Bytes in memory that all blocks may have together; 512 MiB at first.
    static void setLimit(std::uint64_t bytes);
    static std::uint64_t getLimit();
    /// Bytes of all blocks in memory now.
    static std::uint64_t getUsed();

private:
    struct State;
    static void keepLimit();
};
