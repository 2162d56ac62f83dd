// SPDX-License-Identifier: LGPL-2.1-or-later
// Writes the manual page, the completions and the list of settings of ktbake into a folder. The build runs it.
#include "ktBakeCompletions.h"
#include "ktBakeManualPage.h"
#include "ktBakeSettingsList.h"
#include "ktVersion.h"

#include <fstream>
#include <iostream>
#include <QCoreApplication>

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    if (argc != 2) {
        std::cerr << "usage: ktBakeManual FOLDER\n";
        return 2;
    }
    const std::vector<ktBakeOptionInfo> options = describeBakeOptions();
    const std::string folder = std::string(argv[1]) + "/";
    for (const auto& [name, content] :
         {std::make_pair("ktbake.1", makeManualPage(options, ktProjectVersion())),
          std::make_pair("ktbake.bash", ktBakeCompletions::makeBash(options)),
          std::make_pair("_ktbake", ktBakeCompletions::makeZsh(options)),
          std::make_pair("ktbake.fish", ktBakeCompletions::makeFish(options)),
          std::make_pair("ktbake-settings.json", makeSettingsList(options).toStdString())}) {
        std::ofstream file(folder + name, std::ios::binary);
        file << content;
        file.close();
        if (!file) {
            std::cerr << folder << name << ": cannot be written\n";
            return 1;
        }
    }
    return 0;
}
