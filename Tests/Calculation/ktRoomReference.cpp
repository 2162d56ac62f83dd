// SPDX-License-Identifier: LGPL-2.1-or-later
// Calculates the indirect light of the room by path tracing, as reference for the plug-in's results.
#include "ktRoomReference.h"

#include <algorithm>
#include <cmath>

namespace {

using Vector = std::array<double, 3>;

constexpr double offSurface_mm = 1e-3; // start of rays; far above rounding, too small to be visible

double dot(const Vector& a, const Vector& b) {
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

template <class Source>
Vector toVector(const Source& source) {
    return {source[0], source[1], source[2]};
}

} // namespace

ktRoomReference::Random::Random(std::uint64_t seed, std::uint64_t stream) : increment(stream << 1u | 1u) {
    next();
    state += seed;
    next();
}

std::uint32_t ktRoomReference::Random::next() {
    const std::uint64_t old = state;
    state = old * 6364136223846793005ull + increment;
    const auto shifted = static_cast<std::uint32_t>(((old >> 18u) ^ old) >> 27u);
    const auto turn = static_cast<std::uint32_t>(old >> 59u);
    return shifted >> turn | shifted << (-turn & 31u);
}

double ktRoomReference::Random::share() {
    return next() * (1.0 / 4294967296.0);
}

ktRoomReference::ktRoomReference(const std::vector<ktRoomSurface>& room, const Settings& settings_)
    : settings(settings_) {
    for (const ktRoomSurface& surface : room) {
        Rectangle rectangle{
            toVector(surface.corner), toVector(surface.a), toVector(surface.b), toVector(surface.normal), 0, 0,
            toVector(surface.color),  surface.columns,     surface.rows};
        rectangle.squareA = dot(rectangle.a, rectangle.a);
        rectangle.squareB = dot(rectangle.b, rectangle.b);
        surfaces.push_back(rectangle);
    }
}

// A point off the surface and away from its edges, where walls touch it.
Vector ktRoomReference::pointOff(const Place& place) {
    const Rectangle& surface = *place.surface;
    const double s = std::clamp(place.s, 1e-6, 1 - 1e-6), t = std::clamp(place.t, 1e-6, 1 - 1e-6);
    Vector point;
    for (std::size_t axis = 0; axis < 3; ++axis)
        point[axis] =
            surface.corner[axis] + s * surface.a[axis] + t * surface.b[axis] + offSurface_mm * surface.normal[axis];
    return point;
}

Vector ktRoomReference::randomDirection(const Rectangle& surface, Random& random) {
    const double azimuth = 2 * M_PI * random.share(), square = random.share();
    const double alongA = std::sqrt(square / surface.squareA) * std::cos(azimuth),
                 alongB = std::sqrt(square / surface.squareB) * std::sin(azimuth), up = std::sqrt(1 - square);
    Vector direction;
    for (std::size_t axis = 0; axis < 3; ++axis)
        direction[axis] = alongA * surface.a[axis] + alongB * surface.b[axis] + up * surface.normal[axis];
    return direction;
}

bool ktRoomReference::findNearest(const Vector& origin, const Vector& direction, double maxDistance, Place& hit) const {
    double nearest = maxDistance;
    hit.surface = nullptr;
    for (const Rectangle& surface : surfaces) {
        const double fall = dot(direction, surface.normal);
        if (fall == 0)
            continue;
        const Vector toCorner{surface.corner[0] - origin[0], surface.corner[1] - origin[1],
                              surface.corner[2] - origin[2]};
        const double distance = dot(toCorner, surface.normal) / fall;
        if (!(distance > 0 && distance < nearest))
            continue;
        const Vector place{distance * direction[0] - toCorner[0], distance * direction[1] - toCorner[1],
                           distance * direction[2] - toCorner[2]};
        const double s = dot(place, surface.a) / surface.squareA, t = dot(place, surface.b) / surface.squareB;
        if (s < 0 || s > 1 || t < 0 || t > 1)
            continue;
        nearest = distance;
        hit = {&surface, s, t};
    }
    return hit.surface != nullptr;
}

std::array<ktRoomReference::Corner, 3> ktRoomReference::cornersAround(const Place& place) const {
    const int columns = settings.tessellation * place.surface->columns,
              rows = settings.tessellation * place.surface->rows;
    const double x = std::min(place.s * columns, columns - 1e-9), y = std::min(place.t * rows, rows - 1e-9);
    const double column = std::floor(x), row = std::floor(y), u = x - column, v = y - row;
    const auto corner = [&](int right, int up, double weight) -> Corner {
        return {{place.surface, (column + right) / columns, (row + up) / rows}, weight};
    };
    if (u >= v)
        return {corner(0, 0, 1 - u), corner(1, 0, u - v), corner(1, 1, v)};
    return {corner(0, 0, 1 - v), corner(1, 1, u), corner(0, 1, v - u)};
}

ktRoomReference::Light ktRoomReference::lampLight(const Place& place) const {
    const Vector point = pointOff(place);
    Vector way;
    for (std::size_t axis = 0; axis < 3; ++axis)
        way[axis] = ktRoomLamp::position_mm[static_cast<osg::UInt32>(axis)] - point[axis];
    const double distance = std::sqrt(dot(way, way));
    for (double& value : way)
        value /= distance;
    const double cosine = dot(way, place.surface->normal);
    Place between;
    if (cosine <= 0 || findNearest(point, way, distance, between))
        return {0, 0, 0};
    const double metres = distance / 1000, strength = cosine / (metres * metres);
    return {strength * ktRoomLamp::color[0], strength * ktRoomLamp::color[1], strength * ktRoomLamp::color[2]};
}

ktRoomReference::Light ktRoomReference::directLight(const Place& place, Random& random) const {
    if (settings.hasLamp)
        return lampLight(place);
    Place hidden;
    const Vector direction = randomDirection(*place.surface, random);
    const double open = findNearest(pointOff(place), direction, settings.skyDistance, hidden) ? 0 : 1;
    return {open, open, open};
}

ktRoomReference::Light ktRoomReference::path(Place from, Random& random) const {
    Light sum{0, 0, 0}, weight{1, 1, 1};
    for (int bounce = 0; bounce < settings.bounces; ++bounce) {
        Place hit;
        const Vector direction = randomDirection(*from.surface, random);
        if (!findNearest(pointOff(from), direction, settings.gatherDistance, hit))
            break;
        for (std::size_t c = 0; c < 3; ++c)
            weight[c] *= hit.surface->albedo[c];
        from = hit;
        Light direct{0, 0, 0};
        double choice = random.share();
        if (settings.tessellation == 0) {
            direct = directLight(hit, random);
        } else {
            for (const Corner& corner : cornersAround(hit)) {
                const Light light = directLight(corner.place, random);
                for (std::size_t c = 0; c < 3; ++c)
                    direct[c] += corner.weight * light[c];
                // The path continues from one corner, chosen with the probability of its weight.
                if (choice >= 0)
                    from = corner.place;
                choice -= corner.weight;
            }
        }
        for (std::size_t c = 0; c < 3; ++c)
            sum[c] += weight[c] * direct[c];
    }
    return sum;
}

ktRoomReference::Light ktRoomReference::received(std::size_t surface, int column, int row, int paths) const {
    const Rectangle& rectangle = surfaces[surface];
    const Place vertex{&rectangle, double(column) / rectangle.columns, double(row) / rectangle.rows};
    const std::uint64_t number =
        (surface * 1000 + static_cast<std::uint64_t>(row)) * 1000 + static_cast<std::uint64_t>(column);
    Light sum{0, 0, 0};
    for (int i = 0; i < paths; ++i) {
        Random random(static_cast<std::uint64_t>(i), number);
        const Light light = path(vertex, random);
        for (std::size_t c = 0; c < 3; ++c)
            sum[c] += light[c] / paths;
    }
    return sum;
}
