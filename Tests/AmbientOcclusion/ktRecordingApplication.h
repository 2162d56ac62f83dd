// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <streambuf>
#include <string>

/// Puts itself in the place of standard output's buffer while it lives. Each flush records what was written since the
/// last one as "out: ..." in the recording host's log; what nobody flushed is recorded as "unflushed: ..." at the end.
class ktRecordingOutput : public std::streambuf {
public:
    ktRecordingOutput();
    ~ktRecordingOutput() override;

protected:
    int_type overflow(int_type character) override;
    int sync() override;

private:
    std::string pending;
    std::streambuf* replaced;
};
