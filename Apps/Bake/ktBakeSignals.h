// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

/// Cancels the calculation on Ctrl-C or a request to terminate. Create one object at a time, on the main thread, after
/// the QCoreApplication. A second signal ends the process at once, unless holdBack() holds. After the destructor a
/// first signal comes too late; a second one still ends the process.
class ktBakeSignals {
public:
    ktBakeSignals();
    ~ktBakeSignals();
    ktBakeSignals(const ktBakeSignals&) = delete;
    ktBakeSignals& operator=(const ktBakeSignals&) = delete;

    /// Whether a signal has come.
    bool isInterrupted() const;
    /// From now on signals do not end the process, so that files are written completely.
    void holdBack();
    /// Takes holdBack() back: a second signal ends the process again.
    void letThrough();
};
