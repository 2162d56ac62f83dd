// SPDX-License-Identifier: LGPL-2.1-or-later
// The built library as a host uses it: a file that is loaded by name.
#include <cstdlib>
#include <dlfcn.h>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>

namespace {

struct Close {
    void operator()(void* library) const { dlclose(library); }
};
using Library = std::unique_ptr<void, Close>;

// Resolves all symbols at once, so that a missing one fails here and not during a run.
Library load() {
    return Library(dlopen(KT_PLUGIN_FILE, RTLD_NOW | RTLD_LOCAL));
}

} // namespace

TEST(Plugin, GivenLibraryFile_IsNamedWithoutPrefix) {
    EXPECT_EQ(std::filesystem::path(KT_PLUGIN_FILE).filename(), "ktAmbientOcclusion.so");
}

TEST(Plugin, GivenHostThatLoadsIt_ReportsItsVersionThroughACFunction) {
    const Library library = load();
    ASSERT_NE(library, nullptr) << dlerror();
    const auto getPluginVersion = reinterpret_cast<const char* (*)()>(dlsym(library.get(), "getPluginVersion"));
    ASSERT_NE(getPluginVersion, nullptr) << dlerror();
    EXPECT_STREQ(getPluginVersion(), "10.0");
}

TEST(Plugin, GivenLibrary_ExportsTheControllerAndHidesItsOwnParts) {
    const Library library = load();
    ASSERT_NE(library, nullptr) << dlerror();
    for (const char* name : {"_ZN18ktAmbientOcclusion3theEv", "_ZN18ktAmbientOcclusion16staticMetaObjectE",
                             "_ZN18ktAmbientOcclusion16startCalculationEb"})
        EXPECT_NE(dlsym(library.get(), name), nullptr) << name;
    EXPECT_EQ(dlsym(library.get(), "_ZN26ktAmbientOcclusionInternal7numRaysE"), nullptr);
}
