// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

/// Writes plain values into a message. All ranks run the same program on the same kind of processor, so values keep
/// their bytes.
class ktWireWriter {
public:
    template <class T>
    void put(const T& value) {
        static_assert(std::is_trivially_copyable_v<T>, "a plain value");
        append(&value, sizeof value);
    }
    template <class T>
    void putArray(const T* values, std::size_t count) {
        static_assert(std::is_trivially_copyable_v<T>, "plain values");
        put(static_cast<std::uint64_t>(count));
        append(values, count * sizeof(T));
    }
    template <class T>
    void putArray(const std::vector<T>& values) {
        putArray(values.data(), values.size());
    }
    /// Adds bytes that the caller writes. @return the first; valid until more is added
    char* grow(std::size_t size) {
        const std::size_t before = bytes.size();
        if (bytes.capacity() - before < size)
            bytes.reserve(2 * before + size);
        bytes.resize(before + size);
        return bytes.data() + before;
    }
    void putText(const std::string& text) { putArray(text.data(), text.size()); }

    std::vector<char> bytes;

private:
    void append(const void* from, std::size_t size) {
        char* const to = grow(size);
        if (size > 0)
            std::memcpy(to, from, size);
    }
};

/// A message that is shorter than its content, or has values out of range.
struct ktBadMessage : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// Reads what ktWireWriter wrote. @throws ktBadMessage where the message ends too early
class ktWireReader {
public:
    /// @param bytes must outlive this object
    explicit ktWireReader(const std::vector<char>& bytes) : at(bytes.data()), left(bytes.size()) {}

    template <class T>
    void get(T& value) {
        static_assert(std::is_trivially_copyable_v<T>, "a plain value");
        std::memcpy(static_cast<void*>(&value), take(sizeof value), sizeof value);
    }
    template <class T>
    T get() {
        T value;
        get(value);
        return value;
    }
    template <class T>
    std::vector<T> getArray() {
        static_assert(std::is_trivially_copyable_v<T>, "plain values");
        const std::uint64_t count = get<std::uint64_t>();
        if (count > left / sizeof(T))
            throw ktBadMessage("a message is too short");
        std::vector<T> values(count);
        if (count > 0)
            std::memcpy(static_cast<void*>(values.data()), take(count * sizeof(T)), count * sizeof(T));
        return values;
    }
    std::string getText() {
        const std::vector<char> letters = getArray<char>();
        return std::string(letters.begin(), letters.end());
    }
    /// The next bytes. They belong to the message.
    const char* getBytes(std::size_t size) { return take(size); }
    /// @throws ktBadMessage unless everything was read
    void end() const {
        if (left != 0)
            throw ktBadMessage("a message is too long");
    }

private:
    const char* take(std::size_t size) {
        if (size > left)
            throw ktBadMessage("a message is too short");
        const char* const taken = at;
        at += size;
        left -= size;
        return taken;
    }

    const char* at;
    std::size_t left;
};
