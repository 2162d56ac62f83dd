// SPDX-License-Identifier: LGPL-2.1-or-later
// Makes broken templates files from valid ones, the same on every machine, for tests of the reader.
#include "ktMessageMutator.h"

#include <QDir>
#include <QFile>

#include <gtest/gtest.h>

namespace {

const char* const fragments[] = {
    "<",
    ">",
    "&",
    "\"",
    "'",
    "<item>",
    "</item>",
    "<item/>",
    "<list name='x' type='int'>",
    "</list>",
    "</message>",
    "<value name='AOPreset' type='unsigned long'>",
    "<!DOCTYPE a [<!ENTITY b 'c'>]>",
    "&b;",
    "&#0;",
    "&#13;",
    "&#x10FFFF;",
    "<!--",
    "-->",
    "<![CDATA[",
    "]]>",
    "<?a",
    "?>",
    "nan",
    "nan(7fc00001)",
    "inf",
    "-1",
    "99999999999999999999",
    "1e999",
    " encoding=\"base64\"",
    " type=\"string\"",
    "float",
    "bool",
    "unsigned long",
    "\xFF",
    "\xEF\xBB\xBF",
    "\xC3",
    "\r\n",
    "name",
    "quality",
    "true",
    "2147483647",
    " version=\"2\"",
};

} // namespace

ktMessageMutator::ktMessageMutator(unsigned seed) : random(seed) {
    const QDir folder(KT_SEEDS_DIR);
    for (const QString& name : folder.entryList({"*.xml"}, QDir::Files, QDir::Name)) {
        QFile file(folder.filePath(name));
        EXPECT_TRUE(file.open(QIODevice::ReadOnly)) << name.toStdString();
        seeds.push_back(file.readAll());
    }
    EXPECT_FALSE(seeds.empty());
}

int ktMessageMutator::below(int bound) {
    // The distributions of standard libraries differ; the generator does not.
    return bound > 0 ? static_cast<int>(random() % static_cast<unsigned>(bound)) : 0;
}

QByteArray ktMessageMutator::next() {
    QByteArray xml = seeds[static_cast<std::size_t>(below(static_cast<int>(seeds.size())))];
    for (int count = 1 + below(below(8) + 1); count > 0; --count)
        mutate(xml);
    return xml;
}

void ktMessageMutator::mutate(QByteArray& xml) {
    const int at = below(xml.size());
    const int length = below(below(64) + 1);
    switch (below(8)) {
    case 0:
        if (!xml.isEmpty())
            xml[at] = static_cast<char>(below(256));
        break;
    case 1:
        if (!xml.isEmpty())
            xml[at] = static_cast<char>(xml[at] ^ (1 << below(8)));
        break;
    case 2:
        xml.remove(at, length);
        break;
    case 3:
        xml.insert(at, xml.mid(below(xml.size()), length));
        break;
    case 4:
        xml.insert(at, fragments[below(static_cast<int>(std::size(fragments)))]);
        break;
    case 5: {
        // Most files contain small numbers and words. Change these without breaking the structure.
        const int digit = xml.indexOf('>', at) + 1;
        if (digit > 0 && digit < xml.size() && xml[digit] != '\n')
            xml.insert(digit, static_cast<char>('0' + below(10)));
        break;
    }
    case 6: {
        // Remove or repeat a whole line.
        const int begin = xml.lastIndexOf('\n', at) + 1;
        const int end = xml.indexOf('\n', at) + 1;
        if (end > begin && below(2))
            xml.remove(begin, end - begin);
        else if (end > begin)
            xml.insert(begin, xml.mid(begin, end - begin));
        break;
    }
    default:
        if (below(8) == 0)
            xml.truncate(at);
        break;
    }
}
