// SPDX-License-Identifier: LGPL-2.1-or-later
// Traces a whole geometry of a pass on one rank: the task, its result, and their messages.
#include "ktGeometryJob.h"

#include "ktFitSampling.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace {

void demand(bool isTrue, const char* what) {
    if (!isTrue)
        throw ktBadMessage(what);
}

bool areFinite(const std::vector<float>& values) {
    return std::all_of(values.begin(), values.end(), [](float value) { return std::isfinite(value); });
}

// Unlike ==, tells 0 from -0.
bool haveEqualBits(const double* left, const double* right, std::size_t count) {
    return std::equal(left, left + count, right,
                      [](double a, double b) { return a == b && std::signbit(a) == std::signbit(b); });
}

std::uint64_t numberOf(const ktPreparedDirections* directions) {
    return directions ? directions->number : 0;
}

const ktPreparedDirections* findDirections(const ktRankDirectionTable& table, std::uint64_t number) {
    if (number == 0)
        return nullptr;
    const auto found = table.find(number);
    demand(found != table.end(), "unknown directions");
    return found->second->prepared.get();
}

} // namespace

bool ktGeometryPass::isEqualTo(const ktGeometryPass& other) const {
    return kind == other.kind && tracer == other.tracer && directions == other.directions &&
           limits.minDistance == other.limits.minDistance && limits.maxDistance == other.limits.maxDistance &&
           limits.bothSides == other.limits.bothSides && sceneSize == other.sceneSize && lights == other.lights &&
           light == other.light && pointDirections == other.pointDirections &&
           insideDirections == other.insideDirections && density == other.density && mostPoints == other.mostPoints;
}

std::uint32_t ktGeometryPass::sampleChannels() const {
    if (!pointDirections)
        return 0;
    if (kind == ktBatchKind::Gather)
        return 3;
    return lights && !lights->empty() ? 4 : 1;
}

bool ktGeometryJob::isOf(const ktVertexTask& task, const std::uint32_t* shared) const {
    const std::size_t size = positions.size() * sizeof(float);
    return task.count == vertexCount() && haveEqualBits(&task.toWorld.rows()[0][0], &toWorld.rows()[0][0], 12) &&
           std::memcmp(task.positions, positions.data(), size) == 0 &&
           std::memcmp(task.normals, normals.data(), size) == 0 && (shared != nullptr) == !sharedValues.empty() &&
           (!shared || std::equal(sharedValues.begin(), sharedValues.end(), shared));
}

ktGeometryResult ktTraceGeometry(const ktGeometryPass& pass, const ktGeometryJob& job) {
    const std::uint32_t count = job.vertexCount();
    std::vector<ktOneRing> oneRings;
    if (job.hasOneRings)
        oneRings = ktMakeOneRings(job.positions.data(), count, *job.triangles);
    const auto setTask = [&](ktVertexTask& task) {
        task.tracer = pass.tracer;
        task.directions = pass.directions;
        task.limits = pass.limits;
        task.sceneSize = pass.sceneSize;
        task.setVertices(job.toWorld, count, job.positions.data(), job.normals.data(),
                         oneRings.empty() ? nullptr : oneRings.data());
    };
    ktGeometryResult result;
    ktFitTask fit;
    fit.triangles = job.triangles.get();
    fit.directions = pass.pointDirections;
    fit.insideDirections = pass.insideDirections;
    fit.density = pass.density;
    fit.mostPoints = pass.mostPoints;
    fit.samples = &result.samples;
    fit.sharedValues = job.sharedValues.empty() ? nullptr : job.sharedValues.data();
    const ktFitTask* const usedFit = pass.pointDirections && !job.triangles->empty() ? &fit : nullptr;
    std::atomic<std::uint32_t> done{0};
    if (pass.kind == ktBatchKind::Gather) {
        ktGatherTask task;
        setTask(task);
        task.light = pass.light;
        result.values.resize(3 * std::size_t(count));
        result.counts = ktTracePass(task, usedFit, result.values.data(), done);
        return result;
    }
    ktOcclusionTask task;
    setTask(task);
    task.lights = pass.lights;
    std::vector<osg::Vec4f> traced(count);
    result.counts = ktTracePass(task, usedFit, traced.data(), done);
    result.values.reserve(4 * std::size_t(count));
    for (const osg::Vec4f& value : traced)
        result.values.insert(result.values.end(), value.getValues(), value.getValues() + 4);
    return result;
}

void ktPutPass(ktWireWriter& to, std::uint64_t generation, const ktGeometryPass& pass) {
    to.put(generation);
    to.put(pass.kind);
    ktPutLimits(to, pass.limits);
    to.put(pass.sceneSize);
    to.put(numberOf(pass.directions));
    to.put(numberOf(pass.pointDirections));
    to.put(numberOf(pass.insideDirections));
    to.put(pass.density);
    to.put(pass.mostPoints);
    to.putArray(pass.lights ? *pass.lights : std::vector<ktSceneLight>());
}

std::unique_ptr<ktRankGeometryPass> ktGetPass(ktWireReader& from, const ktTracer& tracer,
                                              const ktRankDirectionTable& table, const ktReflectedLight* light) {
    auto pass = std::make_unique<ktRankGeometryPass>();
    from.get(pass->generation);
    from.get(pass->how.kind);
    pass->how.limits = ktGetLimits(from);
    from.get(pass->how.sceneSize);
    pass->how.directions = findDirections(table, from.get<std::uint64_t>());
    pass->how.pointDirections = findDirections(table, from.get<std::uint64_t>());
    pass->how.insideDirections = findDirections(table, from.get<std::uint64_t>());
    from.get(pass->how.density);
    from.get(pass->how.mostPoints);
    pass->lights = from.getArray<ktSceneLight>();
    from.end();
    pass->how.tracer = &tracer;
    pass->how.lights = &pass->lights;
    pass->how.light = light;
    demand(pass->how.directions, "a pass without directions");
    demand(pass->how.kind != ktBatchKind::Gather || light, "a bounce without light");
    return pass;
}

void ktPutJob(ktWireWriter& to, const ktGeometryJob& job) {
    to.put(job.toWorld);
    to.putArray(job.positions);
    to.putArray(job.normals);
    to.putArray(*job.triangles);
    to.putArray(job.sharedValues);
    to.put(static_cast<std::uint32_t>(job.hasOneRings));
}

ktGeometryJob ktGetJob(ktWireReader& from) {
    ktGeometryJob job;
    from.get(job.toWorld);
    job.positions = from.getArray<float>();
    job.normals = from.getArray<float>();
    job.triangles = std::make_shared<const std::vector<std::uint32_t>>(from.getArray<std::uint32_t>());
    job.sharedValues = from.getArray<std::uint32_t>();
    job.hasOneRings = from.get<std::uint32_t>() != 0;
    from.end();
    const std::uint32_t count = job.vertexCount();
    demand(job.positions.size() == 3 * std::size_t(count) && job.normals.size() == job.positions.size() &&
               (job.sharedValues.empty() || job.sharedValues.size() == count),
           "a geometry without its vertices");
    demand(!job.hasOneRings || std::all_of(job.triangles->begin(), job.triangles->end(),
                                           [count](std::uint32_t vertex) { return vertex < count; }),
           "a triangle without its vertices");
    return job;
}

void ktPutResult(ktWireWriter& to, const ktGeometryResult& result) {
    to.putArray(result.values);
    to.put(result.counts);
    to.put(static_cast<std::uint64_t>(result.samples.channels));
    to.putArray(result.samples.values);
    to.putArray(result.samples.isValid);
}

ktGeometryResult ktGetResult(ktWireReader& from, std::uint32_t vertexCount, std::uint32_t valueChannels,
                             std::uint32_t sampleChannels) {
    ktGeometryResult result;
    result.values = from.getArray<float>();
    from.get(result.counts);
    result.samples.channels = from.get<std::uint64_t>();
    result.samples.values = from.getArray<float>();
    result.samples.isValid = from.getArray<std::uint8_t>();
    from.end();
    demand(result.values.size() == std::size_t(vertexCount) * valueChannels, "light of another geometry");
    demand(areFinite(result.values) && areFinite(result.samples.values), "light that is not finite");
    demand(result.samples.channels == sampleChannels &&
               result.samples.values.size() == sampleChannels * result.samples.isValid.size() &&
               result.samples.isValid.size() >= result.counts.points,
           "samples of another geometry");
    for (std::size_t i = 3; valueChannels == 4 && i < result.values.size(); i += 4)
        demand(result.values[i] >= 0.0f && result.values[i] <= 1.0f, "more open rays than rays");
    return result;
}
