// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

/// Turns Ctrl-C and a request to terminate into a cancel of the calculation. One object at a time, on the main thread,
/// after the QCoreApplication was made; the process's former handling comes back with its end.
/// A second signal while one is pending ends the process at once, unless results are being written.
class ktBakeSignals {
public:
    ktBakeSignals();
    ~ktBakeSignals();
    ktBakeSignals(const ktBakeSignals&) = delete;
    ktBakeSignals& operator=(const ktBakeSignals&) = delete;

    /// Whether a signal has come.
    bool isInterrupted() const;
    /// From here on signals wait until the process ends by itself: files are written whole.
    void holdBack();
};
