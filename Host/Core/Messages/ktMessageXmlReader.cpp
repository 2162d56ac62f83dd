// SPDX-License-Identifier: LGPL-2.1-or-later
// Parses the XML text of a message, and reports line, column and reason of the first problem.
#include "ktMessage.h"
#include "ktMessageText.h"
#include "ktMessageXml.h"

#include <QTextCodec>
#include <QXmlStreamReader>

#include <algorithm>
#include <boost/any.hpp>
#include <memory>
#include <set>

namespace {

/// A piece of a text for a message to the user: short, and on one line.
QString excerpt(const QByteArray& text) {
    const QString line = QString::fromUtf8(text).simplified();
    return line.size() > 40 ? line.left(40) + "..." : line;
}

class Reader {
public:
    Reader(const QByteArray& text, ktMessageXml::Problem& firstProblem) : source(text), problem(firstProblem) {
        xml.setNamespaceProcessing(false);
    }

    bool readMessage(ktMessage& message, const std::string& filter) {
        while (readNext() != QXmlStreamReader::StartElement) {
            if (xml.atEnd())
                return failInXml();
        }
        mark();
        if (xml.name() != QLatin1String("message"))
            return fail(QString("expected <message>, found <%1>").arg(xml.name()));
        if (!allowAttributes({"version"}))
            return false;
        if (xml.attributes().value("version") != QLatin1String("1"))
            return fail("unknown version of the message format, expected version=\"1\"");
        while (nextChild()) {
            if (!readAttribute(message, filter))
                return false;
        }
        // Feed the rest at once: from here on the parser treats the end of a slice as the end of the text.
        feed(source.size() - offset);
        while (!failed && !xml.atEnd())
            xml.readNext();
        return !failed && (!xml.hasError() || failInXml());
    }

private:
    /// Returns the parser's next token. Feeds the text in slices, because the parser keeps several copies of what it
    /// has, and decoded, so that the parser ignores an encoding declaration.
    QXmlStreamReader::TokenType readNext() {
        QXmlStreamReader::TokenType token = xml.readNext();
        while (xml.error() == QXmlStreamReader::PrematureEndOfDocumentError && offset < source.size()) {
            feed(std::min(source.size() - offset, 64 << 10));
            token = xml.readNext();
        }
        return token;
    }

    void feed(int size) {
        xml.addData(decoder->toUnicode(source.constData() + offset, size));
        offset += size;
    }

    void mark() {
        // Qt counts columns from 0 and has already passed what it read.
        problem.line = xml.lineNumber();
        problem.column = xml.columnNumber() + 1;
    }

    /// Fails at the position of the last mark().
    bool fail(const QString& reason) {
        problem.reason = reason;
        failed = true;
        return false;
    }

    bool failInXml() {
        mark();
        return fail(xml.hasError() ? xml.errorString().simplified() : QString("the text ends early"));
    }

    /// Moves to the next child element of the current one. False after the last child or on an error.
    bool nextChild() {
        for (;;) {
            switch (readNext()) {
            case QXmlStreamReader::StartElement:
                mark();
                return true;
            case QXmlStreamReader::EndElement:
                return false;
            case QXmlStreamReader::Comment:
            case QXmlStreamReader::ProcessingInstruction:
                break;
            case QXmlStreamReader::Characters:
                if (xml.isWhitespace())
                    break;
                mark();
                return fail("text outside a value: '" + excerpt(xml.text().toUtf8()) + "'");
            default:
                return failInXml();
            }
        }
    }

    /// Collects the text of the current element, which must not contain another element.
    bool readText(QByteArray& text) {
        mark();
        for (;;) {
            switch (readNext()) {
            case QXmlStreamReader::Characters:
                text += xml.text().toUtf8();
                break;
            case QXmlStreamReader::Comment:
            case QXmlStreamReader::ProcessingInstruction:
                break;
            case QXmlStreamReader::EndElement:
                return true;
            case QXmlStreamReader::StartElement:
                mark();
                return fail(QString("<%1> where text is expected").arg(xml.name()));
            default:
                return failInXml();
            }
        }
    }

    bool allowAttributes(std::initializer_list<const char*> allowed) {
        for (const QXmlStreamAttribute& attribute : xml.attributes()) {
            bool known = false;
            for (const char* name : allowed)
                known = known || attribute.qualifiedName() == QLatin1String(name);
            if (!known)
                return fail(QString("<%1> has an unknown attribute '%2'")
                                .arg(xml.name().toString(), excerpt(attribute.qualifiedName().toUtf8())));
        }
        return true;
    }

    /// Decodes `text` as the encoding attribute of the current element says.
    bool decode(const QString& encoding, const QByteArray& text, std::string& value) {
        if (encoding.isEmpty()) {
            value.assign(text.constData(), static_cast<std::size_t>(text.size()));
            return true;
        }
        if (encoding != "base64")
            return fail("unknown encoding '" + excerpt(encoding.toUtf8()) + "', expected base64");
        const auto decoded =
            QByteArray::fromBase64Encoding(text.simplified().replace(' ', ""), QByteArray::AbortOnBase64DecodingErrors);
        if (!decoded)
            return fail("'" + excerpt(text) + "' is no base64 text");
        value.assign((*decoded).constData(), static_cast<std::size_t>((*decoded).size()));
        return true;
    }

    bool readAttribute(ktMessage& message, const std::string& filter) {
        const bool isList = xml.name() == QLatin1String("list");
        if (!isList && xml.name() != QLatin1String("value"))
            return fail(QString("expected <value> or <list>, found <%1>").arg(xml.name()));
        const QXmlStreamAttributes attributes = xml.attributes();
        const bool allowed = isList ? allowAttributes({"name", "nameEncoding", "type"})
                                    : allowAttributes({"name", "nameEncoding", "type", "encoding"});
        if (!allowed)
            return false;
        if (!attributes.hasAttribute("name"))
            return fail(QString("<%1> without a name").arg(xml.name()));
        std::string name;
        if (!decode(attributes.value("nameEncoding").toString(), attributes.value("name").toUtf8(), name))
            return false;
        if (!names.insert(name).second)
            return fail("a second value named '" + excerpt(QByteArray::fromStdString(name)) + "'");
        if (names.size() > ktMessageXml::maxAttributes)
            return fail("more than 4,096 values");
        boost::any value;
        if (!readTyped(attributes.value("type").toString(), isList, value))
            return false;
        if (filter.empty() || filter == name)
            message.set(name, std::move(value), false);
        return true;
    }

    bool readTyped(const QString& type, bool isList, boost::any& value) {
        bool known = false;
        bool read = false;
        const auto tryType = [&](auto example) {
            using T = decltype(example);
            if (known || type != QLatin1String(ktMessageXml::typeName<T>))
                return;
            known = true;
            read = isList ? readList<T>(value) : readValue<T>(value);
        };
        std::apply([&](auto... example) { (tryType(example), ...); }, ktMessageXml::Types());
        return known ? read : fail("unknown type '" + excerpt(type.toUtf8()) + "'");
    }

    template <class T>
    bool readValue(boost::any& any) {
        T value;
        if (!readOne(value))
            return false;
        any = std::move(value);
        return true;
    }

    template <class T>
    bool readList(boost::any& any) {
        std::vector<T> values;
        while (nextChild()) {
            if (xml.name() != QLatin1String("item"))
                return fail(QString("expected <item>, found <%1>").arg(xml.name()));
            if (!allowAttributes({"encoding"}))
                return false;
            if (++entries > ktMessageXml::maxEntries)
                return fail("more than 200,000 entries in lists");
            T value;
            if (!readOne(value))
                return false;
            values.push_back(std::move(value));
        }
        any = std::move(values);
        return !failed;
    }

    template <class T>
    bool readOne(T& value) {
        if (xml.attributes().hasAttribute("encoding"))
            return fail("only texts have an encoding");
        QByteArray text;
        if (!readText(text))
            return false;
        if (const char* what = ktMessageText::parse(text, value))
            return fail("'" + excerpt(text) + "' " + what);
        return true;
    }

    bool readOne(std::string& value) {
        const QString encoding = xml.attributes().value("encoding").toString();
        QByteArray text;
        return readText(text) && decode(encoding, text, value);
    }

    QXmlStreamReader xml;
    const QByteArray& source;
    int offset = 0;
    std::unique_ptr<QTextDecoder> decoder{QTextCodec::codecForName("UTF-8")->makeDecoder()};
    ktMessageXml::Problem& problem;
    bool failed = false;
    std::set<std::string> names;
    int entries = 0;
};

} // namespace

bool ktMessageXml::read(const QByteArray& xml, ktMessage& message, const std::string& filter, Problem& problem) {
    message = ktMessage();
    if (!isSafeToParse(xml, problem))
        return false;
    if (Reader(xml, problem).readMessage(message, filter))
        return true;
    message = ktMessage();
    return false;
}
