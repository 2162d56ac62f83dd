// SPDX-License-Identifier: LGPL-2.1-or-later
// Rejects XML text that is too large, not UTF-8, or has long tags or a document type, before it is parsed.
#include "ktMessageXml.h"

#include <algorithm>

namespace {

bool refuse(const QByteArray& xml, qint64 offset, const char* reason, ktMessageXml::Problem& problem) {
    const auto begin = xml.cbegin();
    const auto at = begin + offset;
    const auto lineStart = std::find(std::make_reverse_iterator(at), std::make_reverse_iterator(begin), '\n').base();
    const auto isCharacterStart = [](char byte) { return (byte & 0xC0) != 0x80; };
    problem.line = 1 + std::count(begin, at, '\n');
    problem.column = 1 + std::count_if(lineStart, at, isCharacterStart);
    problem.reason = QString::fromLatin1(reason);
    return false;
}

int endAfter(const QByteArray& xml, const char* terminator, int from) {
    const int at = xml.indexOf(terminator, from);
    return at < 0 ? xml.size() : at + static_cast<int>(qstrlen(terminator));
}

/// Offset after the tag at `from`: the first ">" outside of quotes ends it.
int endOfTag(const QByteArray& xml, int from) {
    char quote = 0;
    for (int i = from; i < xml.size(); ++i) {
        const char c = xml[i];
        if (quote ? c == quote : c == '"' || c == '\'')
            quote = quote ? 0 : c;
        else if (!quote && c == '>')
            return i + 1;
    }
    return xml.size();
}

} // namespace

bool ktMessageXml::isSafeToParse(const QByteArray& xml, Problem& problem) {
    if (xml.size() > maxBytes)
        return refuse(xml, 0, "the text is larger than 4 MiB", problem);

    // Where the text is not UTF-8, converting it to UTF-16 and back changes it. Qt removes a leading byte order mark.
    const QByteArray text = xml.startsWith("\xEF\xBB\xBF") ? xml.mid(3) : xml;
    const QByteArray back = QString::fromUtf8(text).toUtf8();
    const auto difference = std::mismatch(text.cbegin(), text.cend(), back.cbegin(), back.cend()).first;
    if (difference != text.cend())
        return refuse(xml, xml.size() - text.size() + (difference - text.cbegin()), "not UTF-8 text", problem);

    for (int i = xml.indexOf('<'); i >= 0; i = xml.indexOf('<', i)) {
        const int start = i;
        const auto follows = [&](const char* mark) {
            return qstrncmp(xml.constData() + start, mark, qstrlen(mark)) == 0;
        };
        if (follows("<!--"))
            i = endAfter(xml, "-->", start + 4);
        else if (follows("<![CDATA["))
            i = endAfter(xml, "]]>", start + 9);
        else if (follows("<?"))
            i = endAfter(xml, "?>", start + 2);
        else if (follows("<!"))
            return refuse(xml, start, "document type and entity declarations are not accepted", problem);
        else if ((i = endOfTag(xml, start)) - start > maxTagBytes)
            return refuse(xml, start, "a tag is longer than 128 KiB", problem);
    }
    return true;
}
