// SPDX-License-Identifier: LGPL-2.1-or-later
// node compare.mjs MODULES REFERENCE.glb OTHER.glb...: decodes the files with the reference decoders and compares _AO of
// each vertex with that of the nearest vertex of the reference at the same place in the world, with the same normal.
// Prints one JSON object per file.
import { createRequire } from "node:module";
import { resolve } from "node:path";
import { pathToFileURL } from "node:url";

const [modules, reference, ...others] = process.argv.slice(2);
const require = createRequire(pathToFileURL(resolve(modules, "x.js")));
const load = name => import(pathToFileURL(require.resolve(name)));
const { NodeIO } = await load("@gltf-transform/core");
const { ALL_EXTENSIONS } = await load("@gltf-transform/extensions");
const draco = require("draco3dgltf");
const { MeshoptDecoder } = require("meshoptimizer");

const nearness = 3e-4; // of the diagonal: above what the tools round
const sameSide = 0.9;  // cosine between normals of the same vertex

await MeshoptDecoder.ready;
const io = new NodeIO().registerExtensions(ALL_EXTENSIONS).registerDependencies({
    "draco3d.decoder": await draco.createDecoderModule(), "meshopt.decoder": MeshoptDecoder });

// The product of a matrix and a vector, column by column; w is 1 for points and 0 for directions.
const transform = (m, v, w) => [0, 1, 2].map(r => m[r] * v[0] + m[4 + r] * v[1] + m[8 + r] * v[2] + m[12 + r] * w);
const multiply = (a, b) => Array.from({ length: 16 }, (_, i) =>
    [0, 1, 2, 3].reduce((sum, k) => sum + a[4 * k + i % 4] * b[4 * (i >> 2) + k], 0));

function compose(t, [x, y, z, w], s) {
    return [s[0] * (1 - 2 * (y * y + z * z)), s[0] * 2 * (x * y + w * z), s[0] * 2 * (x * z - w * y), 0,
            s[1] * 2 * (x * y - w * z), s[1] * (1 - 2 * (x * x + z * z)), s[1] * 2 * (y * z + w * x), 0,
            s[2] * 2 * (x * z + w * y), s[2] * 2 * (y * z - w * x), s[2] * (1 - 2 * (x * x + y * y)), 0, ...t, 1];
}

// The transforms of a node to the world: one, or one for each instance.
function uses(node) {
    const own = node.getWorldMatrix(), batch = node.getExtension("EXT_mesh_gpu_instancing");
    if (!batch)
        return [own];
    const lists = ["TRANSLATION", "ROTATION", "SCALE"].map(name => batch.getAttribute(name));
    const count = lists.find(list => list).getCount(), standard = [[0, 0, 0], [0, 0, 0, 1], [1, 1, 1]];
    return Array.from({ length: count }, (_, i) =>
        multiply(own, compose(...lists.map((list, k) => list ? list.getElement(i, []) : standard[k]))));
}

async function read(file) {
    const document = await io.read(file);
    const out = { points: [], normals: [], light: [] };
    for (const node of document.getRoot().listNodes())
        for (const primitive of node.getMesh()?.listPrimitives() ?? []) {
            const get = name => primitive.getAttribute(name);
            const [position, normal, light] = [get("POSITION"), get("NORMAL"), get("_AO")];
            if (!position || !light)
                continue;
            // Only vertices of triangles: others have no neighbours and no meaning.
            const used = new Set(primitive.getIndices()?.getArray() ?? Array(position.getCount()).keys());
            for (const matrix of uses(node))
                for (const i of used) {
                    out.points.push(transform(matrix, position.getElement(i, []), 1));
                    const turned = normal ? transform(matrix, normal.getElement(i, []), 0) : [0, 0, 0];
                    const length = Math.hypot(...turned) || 1;
                    out.normals.push(turned.map(c => c / length));
                    out.light.push(light.getElement(i, [])[0]);
                }
        }
    return out;
}

const source = await read(reference);
const low = [0, 1, 2].map(c => source.points.reduce((least, p) => Math.min(least, p[c]), Infinity));
const high = [0, 1, 2].map(c => source.points.reduce((most, p) => Math.max(most, p[c]), -Infinity));
const reach = nearness * Math.hypot(...high.map((h, c) => h - low[c]));
const cellOf = p => p.map((v, c) => Math.floor((v - low[c]) / reach));
const cells = new Map();
source.points.forEach((p, i) => {
    const key = cellOf(p).join();
    cells.has(key) ? cells.get(key).push(i) : cells.set(key, [i]);
});

// The vertex of the source at this place with the most similar normal; -1: none.
function find(point, normal) {
    const cell = cellOf(point);
    let best = -1, least = Infinity;
    for (let dx = -1; dx <= 1; ++dx)
        for (let dy = -1; dy <= 1; ++dy)
            for (let dz = -1; dz <= 1; ++dz)
                for (const i of cells.get([cell[0] + dx, cell[1] + dy, cell[2] + dz].join()) ?? []) {
                    const distance = Math.hypot(...source.points[i].map((v, c) => v - point[c])) / reach;
                    const cosine = source.normals[i].reduce((sum, v, c) => sum + v * normal[c], 0);
                    if (distance > 1 || (cosine < sameSide && normal.some(v => v !== 0)))
                        continue;
                    const cost = distance + 10 * (1 - cosine);
                    if (cost < least)
                        [best, least] = [i, cost];
                }
    return best;
}

for (const file of others) {
    const other = await read(file);
    const differences = [];
    other.points.forEach((point, i) => {
        const match = find(point, other.normals[i]);
        if (match >= 0)
            differences.push(Math.abs(other.light[i] - source.light[match]));
    });
    differences.sort((a, b) => a - b);
    const share = part => differences[Math.floor(part * (differences.length - 1))] ?? NaN;
    console.log(JSON.stringify({
        file, vertices: other.points.length, matched: differences.length / other.points.length,
        mean: differences.reduce((sum, one) => sum + one, 0) / differences.length, percentile95: share(0.95),
        percentile99: share(0.99) }));
}
