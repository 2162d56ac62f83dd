// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

/// A map from 64-bit keys to small values, in two arrays: unlike a map of nodes it is quick to fill and is gone at
/// once. Entries stay; a value that means "nothing" takes the place of removal. Values move when entries are added. Not
/// thread-safe; reading from many threads is. Open addressing with linear probing (D. E. Knuth, "The Art of Computer
/// Programming", volume 3, 1973).
template <class Value>
class ktHashMap {
public:
    /// The value of a key; null when there is none. @param key any but the largest
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

    /// The value of a key, and whether it is new: then it is `value`.
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

    std::vector<std::uint64_t> keys; // a power of two of them
    std::vector<Value> values;
    std::size_t count = 0;
};
