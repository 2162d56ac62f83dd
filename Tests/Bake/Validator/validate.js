// SPDX-License-Identifier: LGPL-2.1-or-later
// node validate.js PACKAGE_FOLDER FILE: prints the JSON report of the official glTF validator on a .glb or .gltf file.
// Reads the files that a .gltf file names from its folder.
"use strict";

const fs = require("fs");
const path = require("path");

const [folder, file] = process.argv.slice(2);
const validator = require(path.join(folder, "node_modules", "gltf-validator"));

const options = {
    uri: path.basename(file),
    maxIssues: 0, // all of them
    externalResourceFunction: (uri) =>
        fs.promises.readFile(path.join(path.dirname(file), decodeURIComponent(uri))).then((bytes) => new Uint8Array(bytes)),
};

validator.validateBytes(new Uint8Array(fs.readFileSync(file)), options).then(
    (report) => process.stdout.write(JSON.stringify(report)),
    (error) => {
        process.stderr.write(`${file}: ${error}\n`);
        process.exitCode = 1;
    },
);
