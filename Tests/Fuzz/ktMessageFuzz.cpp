// SPDX-License-Identifier: LGPL-2.1-or-later
// Any text: refused with a reason, or a message that comes back the same when it is written and read again.
#include "ktMessage.h"
#include "ktMessageXml.h"

#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace {

void require(bool condition, const char* what) {
    if (condition)
        return;
    std::fprintf(stderr, "%s\n", what);
    std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QByteArray xml(reinterpret_cast<const char*>(data), static_cast<int>(size));
    ktMessage message;
    ktMessageXml::Problem problem;
    if (!ktMessageXml::read(xml, message, "", problem)) {
        require(!problem.reason.isEmpty() && problem.line >= 1 && problem.column >= 1,
                "refused without place or reason");
        require(message.names().empty(), "refused, but left something");
        return 0;
    }
    QByteArray once;
    QByteArray twice;
    QString reason;
    ktMessage back;
    // A text can be just below the bounds and its written form above them.
    if (!ktMessageXml::write(message, once, reason))
        return 0;
    require(ktMessageXml::read(once, back, "", problem), "what was written cannot be read");
    require(ktMessageXml::write(back, twice, reason) && once == twice, "comes back as another message");
    return 0;
}
