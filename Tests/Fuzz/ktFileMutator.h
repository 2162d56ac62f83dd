// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <cstdint>
#include <random>
#include <string>
#include <vector>

/// Changes files of any format at random, but the same for the same seed: bytes, words, numbers in texts, parts of the
/// file or of others. glTF mostly stays glTF.
class ktFileMutator {
public:
    /// @param samples_ files of one format, at least one; must outlive the object
    ktFileMutator(const std::vector<std::string>& samples_, std::uint64_t seed) : samples(samples_), random(seed) {}

    /// A changed sample.
    std::string make();

private:
    std::size_t below(std::size_t count) { return count == 0 ? 0 : random() % count; }
    std::string any(const std::string& text, std::size_t most);
    void change(std::string& file);
    void changeJson(std::string& file);
    void overwrite(std::string& file, const std::string& bytes);
    void changeNumber(std::string& file);

    const std::vector<std::string>& samples;
    std::mt19937_64 random;
};
