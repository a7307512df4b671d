// Writes the glTF files with STEP and CUBICSPLINE samplers that the keelcurve
// tests import (the Debian sample models have only LINEAR ones). Run through
// generate.sh, which installs @gltf-transform/core into a temporary directory
// and runs this script there; the output is committed.
import { Document, NodeIO } from '@gltf-transform/core';
import { writeFile } from 'node:fs/promises';
import path from 'node:path';

const outDir = process.argv[2] ?? '.';

// One node per sampler, each channel with its own accessors.
function addChannel(doc, animation, buffer, nodeName, targetPath, interpolation, times, values, type) {
  const node = doc.createNode(nodeName);
  doc.getRoot().listScenes()[0].addChild(node);
  const input = doc.createAccessor().setType('SCALAR').setArray(new Float32Array(times)).setBuffer(buffer);
  const output = doc.createAccessor().setType(type).setArray(new Float32Array(values)).setBuffer(buffer);
  const sampler = doc.createAnimationSampler().setInput(input).setOutput(output).setInterpolation(interpolation);
  const channel = doc.createAnimationChannel().setTargetNode(node).setTargetPath(targetPath).setSampler(sampler);
  animation.addSampler(sampler).addChannel(channel);
}

function newDocument(animationName) {
  const doc = new Document();
  const buffer = doc.createBuffer('data');
  doc.createScene('scene');
  const animation = doc.createAnimation(animationName);
  return { doc, buffer, animation };
}

// Every buffer goes inline as a data URI, so that each sample is one file.
async function writeEmbedded(doc, fileName) {
  const io = new NodeIO();
  const { json, resources } = await io.writeJSON(doc, { format: 'gltf' });
  for (const buffer of json.buffers ?? []) {
    const bytes = resources[buffer.uri];
    buffer.uri = 'data:application/octet-stream;base64,' + Buffer.from(bytes).toString('base64');
  }
  await writeFile(path.join(outDir, fileName), JSON.stringify(json, null, 2) + '\n');
}

async function writeBinary(doc, fileName) {
  const bytes = await new NodeIO().writeBinary(doc);
  await writeFile(path.join(outDir, fileName), bytes);
}

// STEP: a translation that jumps, and morph-free scale steps.
function stepDocument() {
  const { doc, buffer, animation } = newDocument('steps');
  addChannel(doc, animation, buffer, 'Stepper', 'translation', 'STEP',
    [0, 0.5, 1.25, 2],
    [0, 0, 0, 1, 2, 3, -1.5, 0.25, 4, 2, 2, 2], 'VEC3');
  addChannel(doc, animation, buffer, 'Pulser', 'scale', 'STEP',
    [0, 1, 3],
    [1, 1, 1, 2, 0.5, 1, 1, 1, 1], 'VEC3');
  return doc;
}

// CUBICSPLINE: per key an in-tangent, the value and an out-tangent, with
// tangents that differ on the two sides of a key and a span of uneven length.
function cubicDocument() {
  const { doc, buffer, animation } = newDocument('splines');
  addChannel(doc, animation, buffer, 'Swinger', 'translation', 'CUBICSPLINE',
    [0, 0.75, 2, 2.5],
    [
      0, 0, 0,   0, 0, 0,    2, -1, 0.5,
      1, 3, 0,   1, 1, 2,    -4, 0, 1,
      0.5, 0.5, 0.5,   -2, 0.5, 3,   0.5, 0.5, 0.5,
      3, -2, 1,  0, 0, 1,    0, 0, 0,
    ], 'VEC3');
  addChannel(doc, animation, buffer, 'Grower', 'scale', 'CUBICSPLINE',
    [0, 1, 1.5],
    [
      0, 0, 0,   1, 1, 1,    1, 0, -1,
      2, 2, 2,   1.5, 1, 0.5,   -2, 0, 2,
      0, 0, 0,   1, 1, 1,    0, 0, 0,
    ], 'VEC3');
  addChannel(doc, animation, buffer, 'Turner', 'rotation', 'LINEAR',
    [0, 1],
    [0, 0, 0, 1, 0, 0.70710677, 0, 0.70710677], 'VEC4');
  return doc;
}

await writeEmbedded(stepDocument(), 'step.gltf');
await writeEmbedded(cubicDocument(), 'cubicspline.gltf');
await writeBinary(cubicDocument(), 'cubicspline.glb');
