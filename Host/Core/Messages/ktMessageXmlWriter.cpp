// SPDX-License-Identifier: LGPL-2.1-or-later
// Writes a message as XML text, and refuses values that have no text form.
#include "ktMessage.h"
#include "ktMessageText.h"
#include "ktMessageXml.h"

#include <QXmlStreamWriter>

#include <boost/any.hpp>
#include <cstring>

namespace {

/// Converts a string to text. False if XML cannot hold it: it is not UTF-8 or has control characters.
bool toXmlText(const std::string& value, QString& text) {
    text = QString::fromUtf8(value.data(), static_cast<int>(value.size()));
    if (text.toUtf8() != QByteArray::fromRawData(value.data(), static_cast<int>(value.size())))
        return false;
    for (const QChar c : text) {
        const ushort code = c.unicode();
        if ((code < 0x20 && code != '\t' && code != '\n' && code != '\r') || code >= 0xFFFE)
            return false;
    }
    return true;
}

QString toBase64(const std::string& value) {
    return QString::fromLatin1(QByteArray::fromRawData(value.data(), static_cast<int>(value.size())).toBase64());
}

class Writer {
public:
    Writer(QByteArray& target, QString& problem) : xml(&target), bytes(target), reason(problem) {}

    bool writeMessage(const ktMessage& message) {
        const std::vector<std::string> names = message.names();
        if (names.size() > ktMessageXml::maxAttributes)
            return fail("more than 4,096 values");
        xml.setAutoFormatting(true);
        xml.writeStartDocument();
        xml.writeStartElement("message");
        xml.writeAttribute("version", "1");
        for (const std::string& name : names) {
            if (!writeAttribute(name, message.get(name)))
                return false;
        }
        xml.writeEndElement();
        xml.writeEndDocument();
        return bytes.size() <= ktMessageXml::maxBytes || fail("more than 4 MiB of text");
    }

private:
    bool fail(const char* problem) {
        reason = QString::fromLatin1(problem);
        return false;
    }

    bool writeAttribute(const std::string& name, const boost::any& value) {
        bool written = false;
        const auto tryType = [&](auto example) {
            using T = decltype(example);
            if (!written && holds<T>(value))
                written = writeValue(name, *boost::any_cast<T>(&value));
            else if (!written && holds<std::vector<T>>(value))
                written = writeList(name, *boost::any_cast<std::vector<T>>(&value));
        };
        std::apply([&](auto... example) { (tryType(example), ...); }, ktMessageXml::Types());
        if (!written && reason.isEmpty())
            reason = QString("value \"%1\" has the type %2, which has no text form")
                         .arg(QString::fromStdString(name), value.type().name());
        return written;
    }

    /// Compares type names, because the value may come from another library.
    template <class T>
    static bool holds(const boost::any& value) {
        return std::strcmp(value.type().name(), typeid(T).name()) == 0;
    }

    bool writeName(const char* element, const std::string& name, const char* type) {
        // A character takes up to six bytes, as in "&quot;".
        if (name.size() > (ktMessageXml::maxTagBytes - 256) / 6)
            return fail("the name of a value is too long");
        QString text;
        const bool isText = toXmlText(name, text);
        xml.writeStartElement(element);
        xml.writeAttribute("name", isText ? text : toBase64(name));
        if (!isText)
            xml.writeAttribute("nameEncoding", "base64");
        xml.writeAttribute("type", type);
        return true;
    }

    template <class T>
    bool writeValue(const std::string& name, const T& value) {
        if (!writeName("value", name, ktMessageXml::typeName<T>) || !writeText(value))
            return false;
        xml.writeEndElement();
        return true;
    }

    template <class T>
    bool writeList(const std::string& name, const std::vector<T>& values) {
        if (!writeName("list", name, ktMessageXml::typeName<T>))
            return false;
        entries += values.size();
        if (entries > ktMessageXml::maxEntries)
            return fail("more than 200,000 entries in lists");
        for (const T& value : values) {
            xml.writeStartElement("item");
            if (!writeText(value))
                return false;
            xml.writeEndElement();
        }
        xml.writeEndElement();
        return true;
    }

    template <class T>
    bool writeText(const T& value) {
        xml.writeCharacters(QString::fromLatin1(ktMessageText::format(value)));
        return true;
    }

    bool writeText(const std::string& value) {
        if (value.size() > ktMessageXml::maxBytes)
            return fail("more than 4 MiB of text");
        QString text;
        if (!toXmlText(value, text)) {
            xml.writeAttribute("encoding", "base64");
            xml.writeCharacters(toBase64(value));
            return true;
        }
        // A raw carriage return would be read as a line feed.
        const QStringList parts = text.split('\r');
        for (int i = 0; i < parts.size(); ++i) {
            if (i > 0)
                xml.writeEntityReference("#13");
            xml.writeCharacters(parts[i]);
        }
        return true;
    }

    QXmlStreamWriter xml;
    const QByteArray& bytes;
    QString& reason;
    std::size_t entries = 0;
};

} // namespace

bool ktMessageXml::write(const ktMessage& message, QByteArray& xml, QString& reason) {
    reason.clear();
    return Writer(xml, reason).writeMessage(message);
}
