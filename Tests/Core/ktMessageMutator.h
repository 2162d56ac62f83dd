// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QByteArray>
#include <random>
#include <vector>

/// Makes broken templates files from the valid ones in Tests/Fuzz/Seeds. The same seed gives the same files on every
/// machine.
class ktMessageMutator {
public:
    explicit ktMessageMutator(unsigned seed);
    /// The next file: a valid one with one to eight changes.
    QByteArray next();

private:
    int below(int bound);
    void mutate(QByteArray& xml);

    std::mt19937 random;
    std::vector<QByteArray> seeds;
};
