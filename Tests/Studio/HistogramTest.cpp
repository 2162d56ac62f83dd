// SPDX-License-Identifier: LGPL-2.1-or-later
// The pixels of the histogram in the panel Part, and the words beside it.
#include "ktAmbientOcclusion.h"
#include "ktGeometryInstances.h"
#include "ktPartPanel.h"
#include "ktSceneState.h"
#include "ktStudioFixture.h"

#include <array>
#include <map>
#include <OpenSG/OSGGeometry.h>
#include <QImage>
#include <QLabel>

namespace {

constexpr int bins = ktPartFacts::bins;

class StudioHistogram : public ktStudioFixture {
protected:
    ktHistogram& histogram() { return *window->findChild<ktHistogram*>(); }

    std::string words() { return find<QLabel>("partResults").text().toStdString(); }

    static osg::GeometryPtr geometryOf(const char* name) {
        osg::GeometryPtr first = osg::NullFC;
        ktForEachGeometryInstance(ktSceneState::findNodes(name).front(), ktInstances::All,
                                  [&first](const ktGeometryInstance& instance) {
                                      first = instance.geometry;
                                      return false;
                                  });
        return first;
    }

    /// Gives the vertices of a baked box these values of w, a number of times each.
    static void setResults(const char* name, const std::vector<std::pair<float, int>>& values) {
        const auto results = osg::GeoTexCoords4fPtr::dcast(geometryOf(name)->getTexCoords7());
        ASSERT_NE(results, osg::NullFC);
        std::size_t vertex = 0;
        for (const auto& [w, count] : values)
            for (int i = 0; i < count; ++i)
                (*results->getFieldPtr())[vertex++] = osg::Vec4f(0, 0, 0, w);
        ASSERT_EQ(vertex, results->getFieldPtr()->size());
    }

    /// The height of each bar, as a share of the widget's, in the middle of the bar.
    std::array<double, bins> bars() {
        const QImage picture = histogram().grab().toImage();
        const QRgb bar = histogram().palette().highlight().color().rgb();
        const double step = static_cast<double>(picture.width()) / bins;
        std::array<double, bins> heights = {};
        for (int bin = 0; bin < bins; ++bin) {
            const int x = static_cast<int>((bin + 0.45) * step);
            int bottom = picture.height();
            while (bottom > 0 && picture.pixel(x, bottom - 1) == bar)
                --bottom;
            heights[static_cast<std::size_t>(bin)] = 1 - static_cast<double>(bottom) / picture.height();
        }
        return heights;
    }

    void expectBars(const std::map<int, double>& expected) {
        const double onePixel = 1.01 / histogram().height(); // a bar ends in a pixel
        const std::array<double, bins> heights = bars();
        for (int bin = 0; bin < bins; ++bin) {
            const auto found = expected.find(bin);
            EXPECT_NEAR(heights[static_cast<std::size_t>(bin)], found == expected.end() ? 0 : found->second, onePixel)
                << "bar " << bin;
        }
    }
};

} // namespace

TEST_F(StudioHistogram, GivenKnownShares_DrawsEachBarInItsPlaceAndHeight) {
    open(writeBoxes());
    plugin().setShadowQuality(0);
    trigger("start");
    // 1 belongs to the last bar.
    setResults("left", {{0.0f, 12}, {0.5f, 6}, {1.0f, 6}});
    setResults("right", {{0.09f, 3}, {0.11f, 9}, {0.99f, 12}});
    const auto tells = [this](const QString& text) {
        return waitFor([this, text] { return find<QLabel>("partResults").text() == text; });
    };
    window->getSelection().selectByText("left");
    EXPECT_TRUE(tells("w: least 0.000, mean 0.375; 50.0 % of the vertices are below 0.1")) << words();
    expectBars({{0, 1}, {20, 0.5}, {39, 0.5}});
    window->getSelection().selectByText("right");
    EXPECT_TRUE(tells("w: least 0.090, mean 0.548; 12.5 % of the vertices are below 0.1")) << words();
    expectBars({{3, 0.25}, {4, 0.75}, {39, 1}});
    trigger("selectAll"); // both together
    EXPECT_TRUE(tells("w: least 0.000, mean 0.461; 31.3 % of the vertices are below 0.1")) << words();
    expectBars({{0, 12.0 / 18}, {3, 3.0 / 18}, {4, 9.0 / 18}, {20, 6.0 / 18}, {39, 1}});
}
