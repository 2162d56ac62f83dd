// SPDX-License-Identifier: LGPL-2.1-or-later
// Texts that are not messages, by mistake or by intent, are rejected cheaply with a position and a reason.
#include "ktMessageXml.h"

#include "ktMemoryLimit.h"
#include "ktMessage.h"
#include "ktMessageMutator.h"

#include <gmock/gmock.h>

using testing::HasSubstr;

namespace {

QByteArray wrapped(const QByteArray& content) {
    return "<message version=\"1\">\n" + content + "</message>";
}

/// "line:column: reason" of a rejected text.
std::string problemOf(const QByteArray& xml) {
    ktMessage message;
    message.set("old", 1, true);
    ktMessageXml::Problem problem;
    EXPECT_FALSE(ktMessageXml::read(xml, message, "", problem)) << xml.left(200).constData();
    EXPECT_TRUE(message.names().empty());
    return std::to_string(problem.line) + ":" + std::to_string(problem.column) + ": " + problem.reason.toStdString();
}

/// Whether two messages have the same text form.
bool equal(const ktMessage& a, const ktMessage& b) {
    QByteArray textA, textB;
    QString reason;
    return ktMessageXml::write(a, textA, reason) && ktMessageXml::write(b, textB, reason) && textA == textB;
}

} // namespace

TEST(MessageXmlHostile, GivenSlipOfThePen_NamesPlaceAndReason) {
    EXPECT_EQ(problemOf(wrapped("<value name='v' type='int'>1,5</value>")),
              "2:28: '1,5' is not a whole number of this type");
    EXPECT_EQ(problemOf(wrapped("<list name='v' type='float'>\n  <item>1</item>\n  <item>0,7</item></list>")),
              "4:9: '0,7' is not a number");
    EXPECT_EQ(problemOf(wrapped("<value name='v' type='bool'>ja</value>")), "2:29: 'ja' is neither true nor false");
    EXPECT_EQ(problemOf(wrapped("<value name='v' type='int'>99999999999</value>")),
              "2:28: '99999999999' is out of range");
    EXPECT_EQ(problemOf(wrapped("<value name='v' type='float'>1e99</value>")), "2:30: '1e99' is out of range");
    EXPECT_EQ(problemOf(wrapped("<value name='v' type='integer'>1</value>")), "2:32: unknown type 'integer'");
    EXPECT_EQ(problemOf(wrapped("<value nam='v' type='int'>1</value>")),
              "2:27: <value> has an unknown attribute 'nam'");
    EXPECT_EQ(problemOf(wrapped("<value type='int'>1</value>")), "2:19: <value> without a name");
    EXPECT_EQ(problemOf(wrapped("<vale name='v' type='int'>1</vale>")),
              "2:27: expected <value> or <list>, found <vale>");
    EXPECT_EQ(problemOf(wrapped("<list name='v' type='int'><itm>1</itm></list>")),
              "2:32: expected <item>, found <itm>");
    EXPECT_THAT(problemOf(wrapped("<list name='v' type='int'>5</list>")), HasSubstr("text outside a value: '5'"));
    EXPECT_THAT(problemOf(wrapped("<value name='v' type='int'><b>5</b></value>")),
                HasSubstr("<b> where text is expected"));
    EXPECT_THAT(problemOf(wrapped("<value name='v' type='int'>5</valu>")), HasSubstr("2:"));
    EXPECT_THAT(problemOf(wrapped("<value name='v' type='int'>5</value>").chopped(4)), HasSubstr("2:"));
    EXPECT_THAT(problemOf(wrapped("<value name='v' type='int'/>")), HasSubstr("'' is not a whole number"));
    EXPECT_THAT(problemOf(wrapped("<value name='v' type='string' encoding='rot13'>x</value>")), HasSubstr("rot13"));
    EXPECT_THAT(problemOf(wrapped("<value name='v' type='string' encoding='base64'>?</value>")), HasSubstr("base64"));
    EXPECT_THAT(problemOf(wrapped("<value name='v' type='int' encoding='base64'>MQ==</value>")),
                HasSubstr("only texts"));
    EXPECT_THAT(problemOf(wrapped("<value name='v' type='int'>1</value><value name='v' type='int'>2</value>")),
                HasSubstr("second value named 'v'"));
    EXPECT_THAT(problemOf(wrapped("") + "x"), HasSubstr("2:"));
    EXPECT_THAT(problemOf(wrapped("") + "<message version='1'/>"), HasSubstr("2:"));
    EXPECT_THAT(problemOf("<html/>"), HasSubstr("expected <message>, found <html>"));
    EXPECT_THAT(problemOf("<message version='2'/>"), HasSubstr("version"));
    EXPECT_THAT(problemOf("<message/>"), HasSubstr("version"));
    EXPECT_THAT(problemOf(""), HasSubstr("1:1: "));
    EXPECT_THAT(problemOf("   "), HasSubstr("1:"));
    EXPECT_THAT(problemOf("7"), HasSubstr("1:"));
}

TEST(MessageXmlHostile, GivenTextBehindTheEnd_RefusesItWhereverItBegins) {
    // The reader feeds its parser slices of 64 KiB.
    for (int padding = 65490; padding < 65560; ++padding) {
        const QByteArray xml = "<message version='1'><!--" + QByteArray(padding - 41, ' ') + "--></message>";
        EXPECT_THAT(problemOf(xml + "x"), HasSubstr("1:")) << xml.size();
        ktMessage message;
        ktMessageXml::Problem problem;
        EXPECT_TRUE(ktMessageXml::read(xml + "  <!-- done -->", message, "", problem)) << xml.size();
    }
}

TEST(MessageXmlHostile, GivenNotANumberWithoutSuchBits_RefusesIt) {
    for (const char* text : {"nan()", "nan(0)", "nan(7f800000)", "nan(zz)", "nan(7fc000001)", "nanny", "0x10", "1 2"})
        EXPECT_THAT(problemOf(wrapped(QByteArray("<value name='v' type='float'>") + text + "</value>")),
                    HasSubstr("is not a number"))
            << text;
}

TEST(MessageXmlHostile, GivenDocumentTypeOrEntities_RefusesThem) {
    const char* reason = "document type and entity declarations are not accepted";
    EXPECT_EQ(problemOf("<?xml version='1.0'?>\n <!DOCTYPE message>" + wrapped("")), std::string("2:2: ") + reason);
    EXPECT_THAT(problemOf("<!DOCTYPE m [<!ENTITY a 'aaaa'><!ENTITY b '&a;&a;&a;'>]>" + wrapped("&b;")),
                HasSubstr(reason));
    EXPECT_THAT(problemOf(wrapped("<!ENTITY a 'b'>")), HasSubstr(reason));
    EXPECT_THAT(problemOf(wrapped("<value name='v' type='string'>&file;</value>")), HasSubstr("file"));
}

TEST(MessageXmlHostile, GivenOtherEncodings_RefusesThem) {
    EXPECT_EQ(problemOf(wrapped("<!-- \xE4 -->")), "2:6: not UTF-8 text");
    EXPECT_EQ(problemOf("\xEF\xBB\xBF" + wrapped("<!-- €\xE4 -->")), "2:7: not UTF-8 text");
    const QString text = QString::fromUtf8(wrapped(""));
    EXPECT_THAT(problemOf(QByteArray(reinterpret_cast<const char*>(text.utf16()), text.size() * 2)), HasSubstr(": "));
    // The encoding declaration is ignored: in UTF-7, "+ADw-" would be "<".
    EXPECT_THAT(problemOf("<?xml version='1.0' encoding='UTF-7'?>+ADw-message version='1'/+AD4-"), HasSubstr(": "));
}

TEST(MessageXmlHostile, GivenDeepNesting_RefusesItAtOnce) {
    EXPECT_THAT(problemOf(QByteArray("<message version='1'>") + QByteArray("<a>").repeated(1000000)),
                HasSubstr("1:25: "));
    EXPECT_THAT(problemOf(wrapped("<value name='v' type='string'>" + QByteArray("<a>").repeated(1000000))),
                HasSubstr("2:34: "));
}

TEST(MessageXmlHostile, GivenTagOfManyAttributes_RefusesItUnparsed) {
    QByteArray tag = "<value quoted='>' ";
    for (int i = 0; i < 300000; ++i)
        tag += "a" + QByteArray::number(i, 36) + "='' ";
    EXPECT_EQ(problemOf(wrapped(tag + "/>")), "2:1: a tag is longer than 128 KiB");
}

TEST(MessageXmlHostile, GivenTooMuch_RefusesIt) {
    EXPECT_THAT(problemOf(wrapped(QByteArray(5 << 20, ' '))), HasSubstr("larger than 4 MiB"));
    QByteArray values;
    for (int i = 0; i < 5000; ++i)
        values += "<value name='" + QByteArray::number(i) + "' type='int'>1</value>";
    EXPECT_THAT(problemOf(wrapped(values)), HasSubstr("more than 4,096 values"));
    EXPECT_THAT(
        problemOf(wrapped("<list name='v' type='string'>" + QByteArray("<item/>").repeated(200001) + "</list>")),
        HasSubstr("more than 200,000 entries"));
}

TEST(MessageXmlHostile, GivenLargestTexts_StaysBelow40MiB) {
    const int size = ktMessageXml::maxBytes - 100;
    const QByteArray texts[] = {
        wrapped("<value name='v' type='string'>" + QByteArray(size, 'x') + "</value>"),
        wrapped("<list name='v' type='string'>" + QByteArray("<item/>").repeated(200000) + "</list>"),
        wrapped("<list name='v' type='string'>" + QByteArray("<item>0123456789abcdef</item>").repeated(140000) +
                "</list>"),
        wrapped("<list name='v' type='double'>" + QByteArray("<item>1</item>").repeated(200000) + "</list>"),
        wrapped("<!--" + QByteArray(size, 'x') + "-->"),
        wrapped("<value name='v' type='string'>" + QByteArray("&amp;").repeated(size / 5) + "</value>"),
        QByteArray("<a>").repeated(size / 3),
        QByteArray("<a b='").append(QByteArray(size, '\n')),
    };
    for (const QByteArray& text : texts) {
        const ktMemoryLimit limit(40 << 20);
        ktMessage message;
        ktMessageXml::Problem problem;
        EXPECT_NO_THROW(ktMessageXml::read(text, message, "", problem)) << text.left(60).constData();
    }
}

TEST(MessageXmlHostile, GivenTenThousandMutations_ReadsOrRefusesThem) {
    ktMessageMutator mutator(20240229);
    int accepted = 0;
    const ktMemoryLimit limit(40 << 20);
    for (int i = 0; i < 10000; ++i) {
        const QByteArray xml = mutator.next();
        ktMessage message;
        ktMessageXml::Problem problem;
        if (!ktMessageXml::read(xml, message, "", problem)) {
            ASSERT_FALSE(problem.reason.isEmpty()) << "mutation " << i;
            ASSERT_GE(problem.line, 1) << "mutation " << i;
            ASSERT_GE(problem.column, 1) << "mutation " << i;
            continue;
        }
        ++accepted;
        QByteArray again;
        QString reason;
        ktMessage back;
        ASSERT_TRUE(ktMessageXml::write(message, again, reason)) << "mutation " << i << ": " << reason.toStdString();
        ASSERT_TRUE(ktMessageXml::read(again, back, "", problem)) << "mutation " << i;
        ASSERT_TRUE(equal(message, back)) << "mutation " << i;
    }
    // Otherwise the mutations are too strong to reach far into the reader, or too weak.
    EXPECT_GT(accepted, 1000);
    EXPECT_LT(accepted, 9000);
}
