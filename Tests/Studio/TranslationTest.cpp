// SPDX-License-Identifier: LGPL-2.1-or-later
// The German texts are complete, and the window speaks them.
#include "ktAmbientOcclusion.h"
#include "ktAmbientOcclusionSettings.h"
#include "ktAppearance.h"
#include "ktBoxScene.h"
#include "ktHostSentences.h"
#include "ktSceneDistances.h"
#include "ktStudioFixture.h"

#include <gmock/gmock.h>
#include <QAction>
#include <QDirIterator>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QtTest>
#include <QXmlStreamReader>
#include <set>

namespace {

namespace Settings = ktAmbientOcclusionSettings;

class StudioTranslation : public ktStudioFixture {
protected:
    ~StudioTranslation() override { ktAppearance::setLanguage("en"); }
    void show(const QString& language) {
        ASSERT_EQ(ktAppearance::setLanguage(language), language);
        window.reset();
        window = std::make_unique<ktStudioWindow>();
        window->show();
    }
};

/// The texts of a file of Qt Linguist as "context: text", and those without a translation.
struct Texts {
    std::set<std::string> all, unfinished;
};

Texts readTexts(const QString& path) {
    QFile file(path);
    EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << path.toStdString();
    QXmlStreamReader xml(&file);
    Texts texts;
    QString context, source;
    while (!xml.atEnd()) {
        if (xml.readNext() != QXmlStreamReader::StartElement)
            continue;
        if (xml.name() == QLatin1String("name"))
            context = xml.readElementText();
        else if (xml.name() == QLatin1String("source"))
            source = xml.readElementText();
        else if (xml.name() == QLatin1String("translation")) {
            const bool isUnfinished = xml.attributes().value("type") == QLatin1String("unfinished");
            const QString text = xml.readElementText(QXmlStreamReader::IncludeChildElements);
            texts.all.insert((context + ": " + source).toStdString());
            if (isUnfinished || text.isEmpty())
                texts.unfinished.insert((context + ": " + source).toStdString());
        }
    }
    EXPECT_FALSE(xml.hasError()) << xml.errorString().toStdString();
    return texts;
}

} // namespace

TEST_F(StudioTranslation, GivenTheSources_GermanHasEveryTextOfThem) {
    const QString ours = KT_SOURCES "/Apps/Studio/Translations/ktstudio_de.ts";
    const Texts german = readTexts(ours);
    EXPECT_GT(german.all.size(), 300u);
    EXPECT_THAT(german.unfinished, testing::IsEmpty());

    QStringList arguments = {"-silent", "-no-obsolete", "-locations", "none"};
    for (QDirIterator it(KT_SOURCES "/Apps/Studio", {"*.cpp", "*.h"}, QDir::Files, QDirIterator::Subdirectories);
         it.hasNext();)
        arguments << it.next();
    const QString copy = QString::fromStdString(folder.file("found.ts"));
    arguments << "-ts" << copy;
    QProcess lupdate;
    lupdate.start("lupdate", arguments);
    ASSERT_TRUE(lupdate.waitForFinished()) << "lupdate is in the package qttools5-dev-tools";
    ASSERT_EQ(lupdate.exitCode(), 0);
    const Texts found = readTexts(copy);
    EXPECT_EQ(german.all, found.all) << "see Apps/Studio/Translations/README.md";
}

TEST_F(StudioTranslation, GivenGerman_WindowAndSettingsSpeakIt) {
    EXPECT_EQ(action("save").text(), "&Save");
    const auto describe = [this] {
        std::map<std::string, std::pair<QString, QString>> texts;
        Settings::forEachSetting<&Settings::Places::options>([&](auto row) {
            const auto* const widget = window->findChild<QWidget*>(row.names.option);
            texts[row.names.option] = {widget->accessibleName(), widget->accessibleDescription()};
        });
        return texts;
    };
    const auto english = describe();
    EXPECT_EQ(english.size(), 14u);
    show("de");
    EXPECT_EQ(action("save").text(), "&Speichern");
    for (const auto& [option, texts] : describe()) {
        EXPECT_NE(texts.first, english.at(option).first) << option;
        EXPECT_NE(texts.second.section('\n', 0, 0), english.at(option).second.section('\n', 0, 0)) << option;
        EXPECT_NE(texts.second.section('\n', -1), english.at(option).second.section('\n', -1)) << option;
    }
    open(writeBoxes());
    trigger("selectNone");
    trigger("start");
    EXPECT_THAT(message().toStdString(), testing::HasSubstr("Nichts ist ausgewählt."));
}

TEST_F(StudioTranslation, GivenGerman_WhatDoesNotSuitTheSceneIsSaidInIt) {
    const auto mistakes = [](float least, float most, double edge) {
        QStringList texts;
        for (const std::string& text :
             ktSceneDistances{least, most, edge}.findMistakes({true, true, true}, 1234.5, true))
            texts << QString::fromStdString(text);
        return texts;
    };
    const QStringList english = mistakes(2000, 0.05f, 2000) + mistakes(100, 3000, 1);
    ASSERT_EQ(english.size(), 4);
    for (const QString& text : english)
        EXPECT_EQ(ktTranslateSentences(text), text);
    show("de");
    for (const QString& text : english) {
        const QString german = ktTranslateSentences(text);
        EXPECT_TRUE(german.contains("Diagonale der Szene von 1234 mm") || german.contains("von 1235 mm"))
            << german.toStdString();
        EXPECT_FALSE(german.contains('%')) << german.toStdString();
    }
    EXPECT_TRUE(ktTranslateSentences(english[1]).contains("0,05 mm")) << "as numbers are written in German";
    open(folder.write("box.gltf", makeBoxes({{"box", {0, 0, 0}}}).dump()));
    ktAmbientOcclusion::the()->setShadowQuality(0);
    QString hint;
    QObject::connect(&window->getRun(), &ktStudioRun::hinted, window.get(),
                     [&hint](const QString& text) { hint = text; });
    trigger("start");
    EXPECT_EQ(hint.toStdString(),
              "Das Ergebnis ist fast ganz weiß. Keine Fläche verdeckt einer anderen den Himmel, wie "
              "bei einem einzelnen konvexen Teil. Eine Bodenebene (Datei, Lese-Optionen) zeigt "
              "darunter den Schatten.");
}

TEST_F(StudioTranslation, GivenLanguageWithoutTexts_SpeaksEnglish) {
    EXPECT_EQ(ktAppearance::setLanguage("eo"), "en");
    EXPECT_EQ(QCoreApplication::translate("ktStudioWindow", "&Save"), "&Save");
}

TEST_F(StudioTranslation, GivenDarkColours_TextIsLightOnDark) {
    trigger("colorsDark");
    EXPECT_LT(window->palette().color(QPalette::Window).lightness(), 100);
    EXPECT_GT(window->palette().color(QPalette::WindowText).lightness(), 180);
    trigger("colorsLight");
    EXPECT_GT(window->palette().color(QPalette::Window).lightness(), 180);
    EXPECT_LT(window->palette().color(QPalette::WindowText).lightness(), 100);
    trigger("colorsSystem");
}
