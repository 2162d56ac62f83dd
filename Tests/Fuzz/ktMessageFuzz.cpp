// SPDX-License-Identifier: LGPL-2.1-or-later
// Reads any text as a message. It must be refused with a reason, or stay the same when it is written and read again.
#include "ktFuzzing.h"
#include "ktMessage.h"
#include "ktMessageXml.h"

#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const QByteArray xml(reinterpret_cast<const char*>(data), static_cast<int>(size));
    ktMessage message;
    ktMessageXml::Problem problem;
    if (!ktMessageXml::read(xml, message, "", problem)) {
        require(!problem.reason.isEmpty() && problem.line >= 1 && problem.column >= 1,
                "refused without position or reason");
        require(message.names().empty(), "refused, but the message is not empty");
        return 0;
    }
    QByteArray once;
    QByteArray twice;
    QString reason;
    ktMessage back;
    // A text can be within the limits although its written form exceeds them.
    if (!ktMessageXml::write(message, once, reason))
        return 0;
    require(ktMessageXml::read(once, back, "", problem), "the written text cannot be read");
    require(ktMessageXml::write(back, twice, reason) && once == twice, "reading gives another message");
    return 0;
}
