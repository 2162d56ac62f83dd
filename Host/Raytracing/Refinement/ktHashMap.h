// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

/// A hash map from 64-bit keys to small values, in two arrays. Unlike a std::unordered_map, it fills fast and is
/// destroyed fast. Entries cannot be removed. Adding an entry may move all values. Many threads may read at once;
/// changes are not thread-safe. Open addressing with linear probing (D. E. Knuth, "The Art of Computer Programming",
/// volume 3, 1973).
template <class Value>
class ktHashMap {
public:
    /// The value of a key; null if there is none. @param key any but the largest
    const Value* find(std::uint64_t key) const {
        for (std::size_t slot = firstSlot(key); !keys.empty(); slot = (slot + 1) & (keys.size() - 1)) {
            if (keys[slot] == key)
                return &values[slot];
            if (keys[slot] == freeKey)
                break;
        }
        return nullptr;
    }
    Value* find(std::uint64_t key) { return const_cast<Value*>(std::as_const(*this).find(key)); }

    /// Adds `value` unless the key exists. Returns the value of the key, and whether it was added.
    std::pair<Value*, bool> insert(std::uint64_t key, const Value& value) {
        if (2 * (count + 1) > keys.size())
            grow();
        std::size_t slot = firstSlot(key);
        while (keys[slot] != freeKey && keys[slot] != key)
            slot = (slot + 1) & (keys.size() - 1);
        const bool isNew = keys[slot] == freeKey;
        if (isNew) {
            keys[slot] = key;
            values[slot] = value;
            ++count;
        }
        return {&values[slot], isNew};
    }

private:
    static constexpr std::uint64_t freeKey = ~0ull;

    std::size_t firstSlot(std::uint64_t key) const {
        key = (key ^ key >> 32) * 0x9E3779B97F4A7C15ull;
        return static_cast<std::size_t>(key ^ key >> 29) & (keys.size() - 1);
    }
    void grow() {
        ktHashMap larger;
        larger.keys.assign(keys.empty() ? 64 : 2 * keys.size(), freeKey);
        larger.values.resize(larger.keys.size());
        for (std::size_t i = 0; i < keys.size(); ++i)
            if (keys[i] != freeKey)
                larger.insert(keys[i], values[i]);
        *this = std::move(larger);
    }

    std::vector<std::uint64_t> keys; // their number is a power of two
    std::vector<Value> values;
    std::size_t count = 0;
};
