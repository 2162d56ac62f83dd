// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <QByteArray>
#include <random>
#include <vector>

/// Makes broken templates files out of the good ones in Tests/Fuzz/Seeds. The same seed gives the same files
/// everywhere.
class ktMessageMutator {
public:
    explicit ktMessageMutator(unsigned seed);
    /// The next file: one to eight changes to one of the good ones.
    QByteArray next();

private:
    int below(int bound);
    void mutate(QByteArray& xml);

    std::mt19937 random;
    std::vector<QByteArray> seeds;
};
