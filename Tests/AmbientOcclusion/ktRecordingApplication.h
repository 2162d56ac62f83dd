// SPDX-License-Identifier: LGPL-2.1-or-later
#pragma once

#include <streambuf>
#include <string>

/// Replaces the buffer of standard output during its lifetime. Each flush records the text since the last one as
/// "out: ..." in the recording host's log. The destructor records text that nobody flushed as "unflushed: ...".
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
