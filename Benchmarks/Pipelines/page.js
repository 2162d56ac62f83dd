// SPDX-License-Identifier: LGPL-2.1-or-later
// Draws the scenes of ktCheckPipelines.py in three.js with the reference decoders, compares each picture with that of the
// source, and sends the figures and a sheet of the pictures back.
import * as THREE from "three";
import { DRACOLoader } from "three/addons/loaders/DRACOLoader.js";
import { GLTFLoader } from "three/addons/loaders/GLTFLoader.js";
import { MeshoptDecoder } from "three/addons/libs/meshopt_decoder.module.js";

const width = 320, height = 240, cell = 160, caption = 14;
const renderer = new THREE.WebGLRenderer({ antialias: true, alpha: true, preserveDrawingBuffer: true });
renderer.setPixelRatio(1);
renderer.setSize(width, height);
const loader = new GLTFLoader();
loader.setDRACOLoader(new DRACOLoader().setDecoderPath("/modules/three/examples/jsm/libs/draco/gltf/"));
loader.setMeshoptDecoder(MeshoptDecoder);

// The camera of the source serves for all, so that a shift of the model would show.
async function draw(url, camera) {
    const scene = new THREE.Scene();
    scene.add(new THREE.HemisphereLight(0xffffff, 0x8d8d8d, 3));
    const model = (await loader.loadAsync(url)).scene;
    scene.add(model);
    if (!camera.isPlaced) {
        const sphere = new THREE.Box3().setFromObject(model).getBoundingSphere(new THREE.Sphere());
        Object.assign(camera, { near: sphere.radius / 100, far: sphere.radius * 20, isPlaced: true });
        camera.position.copy(sphere.center).addScaledVector(new THREE.Vector3(0.55, 0.4, 0.73).normalize(), sphere.radius * 3);
        camera.lookAt(sphere.center);
        camera.updateProjectionMatrix();
    }
    renderer.render(scene, camera);
    const canvas = document.createElement("canvas");
    [canvas.width, canvas.height] = [width, height];
    const context = canvas.getContext("2d", { willReadFrequently: true });
    context.drawImage(renderer.domElement, 0, 0);
    return { canvas, bytes: context.getImageData(0, 0, width, height).data };
}

// Mean difference of red, green and blue, 0 to 255, over the pixels that show the model in one of the pictures.
function compare(a, b) {
    let sum = 0, pixels = 0;
    for (let i = 0; i < a.length; i += 4) {
        if (a[i + 3] === 0 && b[i + 3] === 0)
            continue;
        ++pixels;
        for (let c = 0; c < 3; ++c)
            sum += Math.abs(a[i + c] - b[i + c]) / 3;
    }
    return { pixels, mean: sum / pixels };
}

const send = (path, result) => fetch(path, { method: "POST", body: JSON.stringify(result) });

try {
    const models = await (await fetch("/scenes.json")).json();
    const sheet = document.createElement("canvas");
    sheet.width = Math.max(...models.map(model => model.scenes.length)) * cell;
    sheet.height = models.length * (cell * height / width + caption);
    const context = sheet.getContext("2d");
    context.fillStyle = "#ddd";
    context.fillRect(0, 0, sheet.width, sheet.height);
    context.fillStyle = "#222";
    context.font = "11px sans-serif";
    for (const [row, { name, scenes }] of models.entries()) {
        const camera = new THREE.PerspectiveCamera(30, width / height);
        let source = null;
        for (const [column, scene] of scenes.entries()) {
            const picture = await draw(scene.url, camera);
            source ??= picture;
            await send("/result", { model: name, tool: scene.tool, ...compare(source.bytes, picture.bytes) });
            const y = row * (cell * height / width + caption);
            context.fillText(`${name}: ${scene.tool}`, column * cell + 2, y + caption - 3);
            context.drawImage(picture.canvas, column * cell, y + caption, cell, cell * height / width);
        }
    }
    await send("/done", { sheet: sheet.toDataURL("image/png") });
} catch (error) {
    await send("/done", { error: String(error.stack ?? error) });
}
