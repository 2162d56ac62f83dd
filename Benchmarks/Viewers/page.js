// SPDX-License-Identifier: LGPL-2.1-or-later
// Draws the scenes of ktBenchmarkViewers.py in three.js and in model-viewer, compares each picture with the first scene's,
// and sends the figures and the pictures back.
import * as THREE from "three";
import { GLTFLoader } from "three/addons/loaders/GLTFLoader.js";
import { RoomEnvironment } from "three/addons/environments/RoomEnvironment.js";

const width = 640, height = 480;
const turn_degrees = 35, tilt_degrees = 15; // of the camera: from the front to the right, and above the horizon

// Width times height pixels of a picture: red, green, blue, alpha.
async function pixelsOf(source) {
    const canvas = document.createElement("canvas");
    canvas.width = width;
    canvas.height = height;
    const context = canvas.getContext("2d", { willReadFrequently: true });
    context.drawImage(source, 0, 0, width, height);
    return { canvas, bytes: context.getImageData(0, 0, width, height).data };
}

// three.js. lights: adds lights to the scene, given it and the renderer.
function makeThree(lights) {
    const renderer = new THREE.WebGLRenderer({ antialias: true, alpha: true, preserveDrawingBuffer: true });
    renderer.setPixelRatio(1);
    renderer.setSize(width, height);
    return async url => {
        const scene = new THREE.Scene();
        lights(scene, renderer);
        const model = (await new GLTFLoader().loadAsync(url)).scene;
        scene.add(model);
        const sphere = new THREE.Box3().setFromObject(model).getBoundingSphere(new THREE.Sphere());
        const camera = new THREE.PerspectiveCamera(30, width / height, sphere.radius / 100, sphere.radius * 20);
        const turn = THREE.MathUtils.degToRad(turn_degrees), tilt = THREE.MathUtils.degToRad(tilt_degrees);
        const away = new THREE.Vector3(Math.sin(turn) * Math.cos(tilt), Math.sin(tilt), Math.cos(turn) * Math.cos(tilt));
        camera.position.copy(sphere.center).addScaledVector(away, sphere.radius * 3);
        camera.lookAt(sphere.center);
        renderer.render(scene, camera);
        return pixelsOf(renderer.domElement);
    };
}

// model-viewer with its defaults.
async function makeModelViewer() {
    await import("/modules/@google/model-viewer/dist/model-viewer.min.js");
    customElements.get("model-viewer").minimumRenderScale = 1; // else it draws fewer pixels while it is slow
    const take = async viewer => pixelsOf(await createImageBitmap(await viewer.toBlob({ mimeType: "image/png" })));
    return async url => {
        const viewer = document.createElement("model-viewer");
        viewer.style.cssText = `width: ${width}px; height: ${height}px; display: block`;
        viewer.setAttribute("camera-orbit", `${turn_degrees}deg ${90 - tilt_degrees}deg 100%`);
        viewer.setAttribute("interaction-prompt", "none");
        viewer.setAttribute("loading", "eager");
        const loaded = new Promise((resolve, reject) => {
            viewer.addEventListener("load", resolve);
            viewer.addEventListener("error", event => reject(new Error(JSON.stringify(event.detail))));
        });
        viewer.src = url;
        document.body.replaceChildren(viewer);
        await loaded;
        viewer.jumpCameraToGoal();
        // It fades in, and it draws at the next frames: wait until the picture stays the same.
        for (let before = null, tries = 0; tries < 100; ++tries) {
            await new Promise(resolve => setTimeout(resolve, 500));
            const picture = await take(viewer);
            if (before && picture.bytes.some(byte => byte > 0) &&
                picture.bytes.every((byte, i) => byte === before.bytes[i]))
                return picture;
            before = picture;
        }
        throw new Error(`${url}: model-viewer's picture does not come to rest`);
    };
}

// How much darker the second picture is, over the pixels that show the model in both. 0 to 255, mean of red, green, blue.
function compare(before, after) {
    const darkening = [];
    for (let i = 0; i < before.length; i += 4)
        if (before[i + 3] === 255 && after[i + 3] === 255)
            darkening.push((before[i] + before[i + 1] + before[i + 2] - after[i] - after[i + 1] - after[i + 2]) / 3);
    darkening.sort((a, b) => a - b);
    return {
        pixels: darkening.length,
        mean: darkening.reduce((sum, one) => sum + one, 0) / darkening.length,
        percentile95: darkening[Math.floor(0.95 * (darkening.length - 1))]
    };
}

// The pictures side by side: a row for each viewer, a column for each scene. Shows only what the model covers.
function makeSheet(rows) {
    const cell = 220, caption = 18, gap = 6;
    const crops = rows.map(({ pictures }) => {
        const box = { left: width, top: height, right: 0, bottom: 0 };
        pictures[0].picture.bytes.forEach((byte, i) => {
            if (i % 4 !== 3 || byte === 0)
                return;
            const x = ((i - 3) / 4) % width, y = Math.floor(i / 4 / width);
            Object.assign(box, { left: Math.min(box.left, x), right: Math.max(box.right, x + 1),
                                 top: Math.min(box.top, y), bottom: Math.max(box.bottom, y + 1) });
        });
        return box;
    });
    const heights = crops.map(box => Math.round((box.bottom - box.top) * cell / (box.right - box.left)));
    const canvas = document.createElement("canvas");
    canvas.width = rows[0].pictures.length * (cell + gap) + gap;
    canvas.height = heights.reduce((sum, one) => sum + one + caption + gap, gap);
    const context = canvas.getContext("2d");
    context.fillStyle = "#ddd";
    context.fillRect(0, 0, canvas.width, canvas.height);
    context.fillStyle = "#222";
    context.font = "13px sans-serif";
    let y = gap;
    rows.forEach(({ viewer, pictures }, row) => {
        const box = crops[row];
        pictures.forEach(({ name, picture }, column) => {
            const x = gap + column * (cell + gap);
            context.fillText(`${viewer}: ${name}`, x, y + caption - 5);
            context.drawImage(picture.canvas, box.left, box.top, box.right - box.left, box.bottom - box.top,
                              x, y + caption, cell, heights[row]);
        });
        y += heights[row] + caption + gap;
    });
    // Fewer shades make a file of a third of the size.
    const image = context.getImageData(0, 0, canvas.width, canvas.height);
    image.data.forEach((byte, i) => { image.data[i] = Math.min(255, 4 * Math.round(byte / 4)); });
    context.putImageData(image, 0, 0);
    return canvas.toDataURL("image/png");
}

const send = (path, result) => fetch(path, { method: "POST", body: JSON.stringify(result) });

try {
    const scenes = await (await fetch("/scenes.json")).json();
    const viewers = {
        // As its examples show glTF files: light from all sides, filmic tone mapping.
        "three.js, room": makeThree((scene, renderer) => {
            renderer.toneMapping = THREE.ACESFilmicToneMapping;
            scene.environment = new THREE.PMREMGenerator(renderer).fromScene(new RoomEnvironment(), 0.04).texture;
        }),
        // Sky and sun, no tone mapping.
        "three.js, sun": makeThree(scene => {
            scene.add(new THREE.HemisphereLight(0xffffff, 0x8d8d8d, 1.5));
            const sun = new THREE.DirectionalLight(0xffffff, 1.5);
            sun.position.set(3, 10, 10);
            scene.add(sun);
        }),
        "model-viewer": await makeModelViewer()
    };
    const rows = [];
    for (const [viewer, draw] of Object.entries(viewers)) {
        const pictures = [];
        for (const { name, url } of scenes) {
            const picture = await draw(url);
            pictures.push({ name, picture });
            await send("/result", { viewer, scene: name, ...compare(pictures[0].picture.bytes, picture.bytes) });
        }
        rows.push({ viewer, pictures });
    }
    await send("/done", { sheet: makeSheet(rows) });
} catch (error) {
    await send("/done", { error: String(error.stack ?? error) });
}
