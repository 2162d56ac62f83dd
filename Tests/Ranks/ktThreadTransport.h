// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include "ktTransport.h"

#include <memory>
#include <vector>

/// Messages between ranks that are threads of one process.
class ktThreadTransport : public ktTransport {
public:
    struct Hub;
    /// Makes the transports of all ranks.
    static std::vector<std::unique_ptr<ktThreadTransport>> makeAll(int size);

    ktThreadTransport(std::shared_ptr<Hub> hub, int rank);
    int rank() const override { return ownRank; }
    int size() const override;
    void send(int to, ktMessageBytes message) override;
    void broadcast(ktMessageBytes message) override;
    bool receive(int& from, std::vector<char>& message, std::chrono::milliseconds longest) override;
    void finish() override {}
    void abort(int exitCode) override;

    /// The exit code of the first abort() of any rank; -1: none yet.
    int abortCode() const;

private:
    const std::shared_ptr<Hub> hub;
    const int ownRank;
};
