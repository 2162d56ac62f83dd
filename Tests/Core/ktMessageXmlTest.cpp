// SPDX-License-Identifier: LGPL-2.1-or-later
// The text form of messages: every type is written and read back; texts that a person may write by hand.
#include "ktMessageXml.h"

#include "ktMessage.h"

#include <cmath>
#include <cstring>
#include <gmock/gmock.h>
#include <limits>
#include <random>

using testing::ElementsAre;
using testing::HasSubstr;

namespace {

QByteArray textOf(const ktMessage& message) {
    QByteArray xml;
    QString reason;
    EXPECT_TRUE(ktMessageXml::write(message, xml, reason)) << reason.toStdString();
    return xml;
}

ktMessage readBack(const QByteArray& xml) {
    ktMessage message;
    ktMessageXml::Problem problem;
    EXPECT_TRUE(ktMessageXml::read(xml, message, "", problem))
        << problem.line << ":" << problem.column << ": " << problem.reason.toStdString();
    return message;
}

template <class T>
T roundTrip(const T& value) {
    ktMessage message;
    message.set("value", value, true);
    const ktMessage back = readBack(textOf(message));
    const T* held = boost::any_cast<T>(&back.get("value"));
    EXPECT_NE(held, nullptr) << "comes back as " << back.get("value").type().name();
    return held ? *held : T();
}

template <class Real>
bool sameBits(Real a, Real b) {
    return std::memcmp(&a, &b, sizeof a) == 0;
}

template <class Real, class Bits>
Real fromBits(Bits bits) {
    static_assert(sizeof(Real) == sizeof(Bits));
    Real value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

/// Puts hand-written content into a message.
QByteArray wrapped(const QByteArray& content) {
    return "<message version=\"1\">" + content + "</message>";
}

template <class T>
T handWritten(const QByteArray& content) {
    const ktMessage message = readBack(wrapped(content));
    const T* held = boost::any_cast<T>(&message.get("v"));
    EXPECT_NE(held, nullptr) << content.constData();
    return held ? *held : T();
}

} // namespace

TEST(MessageXml, GivenEveryType_ComesBackAsThatType) {
    EXPECT_EQ(roundTrip(true), true);
    EXPECT_EQ(roundTrip(false), false);
    EXPECT_EQ(roundTrip(std::numeric_limits<int>::min()), std::numeric_limits<int>::min());
    EXPECT_EQ(roundTrip(std::numeric_limits<unsigned long>::max()), std::numeric_limits<unsigned long>::max());
    EXPECT_EQ(roundTrip(0.1f), 0.1f);
    EXPECT_EQ(roundTrip(0.1), 0.1);
    EXPECT_EQ(roundTrip(std::string("text")), "text");
    EXPECT_THAT(roundTrip(std::vector<bool>{true, false, true}), ElementsAre(true, false, true));
    EXPECT_THAT(roundTrip(std::vector<int>{-1, 0, 7}), ElementsAre(-1, 0, 7));
    EXPECT_THAT(roundTrip(std::vector<unsigned long>{0, 9}), ElementsAre(0, 9));
    EXPECT_THAT(roundTrip(std::vector<float>{0.7f, 3000.f}), ElementsAre(0.7f, 3000.f));
    EXPECT_THAT(roundTrip(std::vector<double>{1e300, 5.0}), ElementsAre(1e300, 5.0));
    EXPECT_THAT(roundTrip(std::vector<std::string>{"", "b"}), ElementsAre("", "b"));
    EXPECT_TRUE(roundTrip(std::vector<float>()).empty());
    EXPECT_TRUE(roundTrip(std::vector<std::string>()).empty());
}

TEST(MessageXml, GivenAnyFloatBits_ReturnsThemExactly) {
    std::vector<float> values = {0.f, -0.f, 1e-45f, 1.17549421e-38f, 3.40282347e38f, INFINITY, -INFINITY, NAN, -NAN};
    values.push_back(fromBits<float>(0x7F800001u)); // signalling NaN
    values.push_back(fromBits<float>(0xFFC12345u));
    std::mt19937 random(7);
    for (int i = 0; i < 20000; ++i)
        values.push_back(fromBits<float>(static_cast<std::uint32_t>(random())));
    const auto back = roundTrip(values);
    ASSERT_EQ(back.size(), values.size());
    EXPECT_EQ(std::memcmp(back.data(), values.data(), values.size() * sizeof(float)), 0);
}

TEST(MessageXml, GivenAnyDoubleBits_ReturnsThemExactly) {
    std::vector<double> values = {-0.0, 5e-324, INFINITY, NAN, -double(NAN), 0.05, 1.0 / 3};
    std::mt19937_64 random(11);
    for (int i = 0; i < 20000; ++i)
        values.push_back(fromBits<double>(static_cast<std::uint64_t>(random())));
    const auto back = roundTrip(values);
    ASSERT_EQ(back.size(), values.size());
    EXPECT_EQ(std::memcmp(back.data(), values.data(), values.size() * sizeof(double)), 0);
}

TEST(MessageXml, GivenEveryCodePoint_ReturnsItsText) {
    std::vector<std::string> texts;
    for (uint code = 0; code < 0x110000; code += 16) {
        QString text;
        for (uint c = code; c < code + 16; ++c) {
            if (!QChar::isSurrogate(c))
                text += QString::fromUcs4(&c, 1);
        }
        texts.push_back(text.toStdString());
    }
    // In parts, because the size of a message is limited.
    for (std::size_t first = 0; first < texts.size(); first += 8192) {
        const std::vector<std::string> portion(texts.begin() + first,
                                               texts.begin() + std::min(first + 8192, texts.size()));
        EXPECT_EQ(roundTrip(portion), portion);
    }
}

TEST(MessageXml, GivenEveryLowCharacterAlone_ReturnsIt) {
    std::vector<std::string> texts;
    for (int c = 0; c < 256; ++c) { // bytes above 127 are not UTF-8
        texts.push_back(std::string(1, static_cast<char>(c)));
        texts.push_back("a" + texts.back() + "b");
    }
    EXPECT_EQ(roundTrip(texts), texts);
}

TEST(MessageXml, GivenAwkwardTexts_ReturnsThem) {
    const std::vector<std::string> texts = {"",
                                            " ",
                                            "  both ends  ",
                                            "\n",
                                            "\r",
                                            "\r\n",
                                            "a\r\nb\nc\rd\te",
                                            "<item>&amp;</item>",
                                            "]]>",
                                            "<![CDATA[x]]>",
                                            "\"double\" 'single'",
                                            "&#13;",
                                            "Größe äöüß",
                                            "\xF0\x9F\x9A\x97 car",
                                            "\xEF\xBB\xBF mark in front",
                                            std::string("nul\0inside", 10),
                                            "\x1B[31mred",
                                            "no utf-8: \xFF\xFE",
                                            "cut off: \xE2\x82",
                                            "\xEF\xBF\xBE",
                                            "\xED\xA0\x80 a lone surrogate",
                                            std::string(10000, 'x'),
                                            QString(10000, QChar(0x20AC)).toStdString(),
                                            std::string(10000, '<'),
                                            std::string(300000, '&')};
    EXPECT_EQ(roundTrip(texts), texts);
    for (const std::string& text : texts)
        EXPECT_EQ(roundTrip(text), text);
}

TEST(MessageXml, GivenAwkwardNames_ReturnsThem) {
    for (const std::string& name : {std::string("\"<&>'"), std::string("a\nb\tc\r"), std::string("nul\0", 4),
                                    std::string("\xFF"), std::string(" x "), std::string()}) {
        ktMessage message;
        message.set(name, 5, true);
        EXPECT_THAT(readBack(textOf(message)).names(), ElementsAre(name));
    }
}

TEST(MessageXml, GivenMessage_WritesTextForPeople) {
    ktMessage message;
    message.set("AOPreset", 2ul, true);
    message.set("name", std::vector<std::string>{"Größe & <Form>", "b"}, true);
    message.set("minDistance", std::vector<float>{0.7f, 1.f}, true);
    message.set("indirect", std::vector<bool>{true, false}, true);
    EXPECT_EQ(textOf(message).toStdString(), R"(<?xml version="1.0" encoding="UTF-8"?>
<message version="1">
    <value name="AOPreset" type="unsigned long">2</value>
    <list name="name" type="string">
        <item>Größe &amp; &lt;Form&gt;</item>
        <item>b</item>
    </list>
    <list name="minDistance" type="float">
        <item>0.7</item>
        <item>1</item>
    </list>
    <list name="indirect" type="bool">
        <item>true</item>
        <item>false</item>
    </list>
</message>
)");
}

TEST(MessageXml, GivenHandWrittenNumbers_TakesUsualSpellings) {
    EXPECT_EQ(handWritten<int>("<value name='v' type='int'> +12\n</value>"), 12);
    EXPECT_EQ(handWritten<float>("<value name='v' type='float'>\t.5 </value>"), 0.5f);
    EXPECT_EQ(handWritten<float>("<value name='v' type='float'>1E2</value>"), 100.f);
    EXPECT_EQ(handWritten<float>("<value name='v' type='float'>-Inf</value>"), -INFINITY);
    EXPECT_TRUE(std::isnan(handWritten<double>("<value name='v' type='double'>NaN</value>")));
    EXPECT_EQ(handWritten<bool>("<value name='v' type='bool'> 1 </value>"), true);
    EXPECT_EQ(handWritten<bool>("<value name='v' type='bool'>false</value>"), false);
}

TEST(MessageXml, GivenCommentsAndCharacterData_ReadsAroundThem) {
    EXPECT_EQ(handWritten<std::string>("<!-- don't > mind --><value name='v' type='string'>a<!-- b -->c"
                                       "<![CDATA[<&]]></value>"),
              "ac<&");
    EXPECT_THAT(handWritten<std::vector<int>>("<?note it's > fine?><list name='v' type='int'><!-- \" -->"
                                              "<item>1</item> <item>2</item></list>"),
                ElementsAre(1, 2));
    EXPECT_EQ(handWritten<std::string>("<value name='v' type='string'>&#x20AC;&lt;</value>"), "€<");
    EXPECT_EQ(handWritten<std::string>("<value name='v' type='string' encoding='base64'> YW\n Jj </value>"), "abc");
}

TEST(MessageXml, GivenByteOrderMarkOrWindowsLineEnds_ReadsTheText) {
    QByteArray xml = "\xEF\xBB\xBF<?xml version='1.0'?>\r\n" + wrapped("\r\n<value name='v' type='int'>1</value>\r\n");
    EXPECT_EQ(boost::any_cast<int>(readBack(xml).get("v")), 1);
}

TEST(MessageXml, GivenFilter_KeepsThatValueAlone) {
    ktMessage message;
    message.set("a", 1, true);
    message.set("b", 2, true);
    const QByteArray xml = textOf(message);
    ktMessageXml::Problem problem;
    ASSERT_TRUE(ktMessageXml::read(xml, message, "b", problem));
    EXPECT_THAT(message.names(), ElementsAre("b"));
    ASSERT_TRUE(ktMessageXml::read(xml, message, "c", problem));
    EXPECT_TRUE(message.names().empty());
}

TEST(MessageXml, GivenTypeWithoutTextForm_RefusesToWrite) {
    for (const boost::any& value : {boost::any('c'), boost::any(1u), boost::any(std::vector<char>()), boost::any()}) {
        ktMessage message;
        message.set("odd", value, true);
        QByteArray xml;
        QString reason;
        EXPECT_FALSE(ktMessageXml::write(message, xml, reason));
        EXPECT_THAT(reason.toStdString(), HasSubstr("\"odd\""));
    }
}

TEST(MessageXml, GivenMoreThanCanBeReadBack_RefusesToWrite) {
    const auto reasonFor = [](const boost::any& value, int count = 1, const std::string& name = "v") {
        ktMessage message;
        for (int i = 0; i < count; ++i)
            message.set(name + std::to_string(i), value, true);
        QByteArray xml;
        QString reason;
        EXPECT_FALSE(ktMessageXml::write(message, xml, reason));
        return reason.toStdString();
    };
    EXPECT_THAT(reasonFor(std::vector<int>(200001)), HasSubstr("200,000"));
    EXPECT_THAT(reasonFor(1, 4097), HasSubstr("4,096"));
    EXPECT_THAT(reasonFor(std::string(5 << 20, 'x')), HasSubstr("4 MiB"));
    EXPECT_THAT(reasonFor(std::string(3 << 20, '<')), HasSubstr("4 MiB"));
    EXPECT_THAT(reasonFor(1, 1, std::string(200000, 'n')), HasSubstr("name"));
}

TEST(MessageXml, GivenAsMuchAsCanBeWritten_ReadsItBack) {
    const std::vector<bool> many(ktMessageXml::maxEntries / 2, true);
    const std::string longText((4 << 20) - 5000, 'x');
    EXPECT_EQ(roundTrip(many), many);
    EXPECT_EQ(roundTrip(longText), longText);
    ktMessage message;
    const std::string longName(21000, '"');
    message.set(longName, 1, true);
    for (int i = 1; i < ktMessageXml::maxAttributes; ++i)
        message.set(std::to_string(i), i, true);
    EXPECT_EQ(readBack(textOf(message)).names(), message.names());
}
