'use strict';
const assert = require('node:assert/strict');
const fs = require('node:fs');
const path = require('node:path');
const test = require('node:test');
const { load, runScript } = require('../support/windows.js');

const lib = path.join(__dirname, '..', '..', 'lib');
const util = require('borvanta-util');
const promises = require('borvanta-util/promises');

/** The functions that a declaration file documents. */
const documented = (file) => [...fs.readFileSync(path.join(lib, file), 'utf8')
  .matchAll(/\*\/\r?\nexport function (\w+)\(/g)].map(([, name]) => name);

test('hands out the functions of the module, each with a documented type', () => {
  assert.deepEqual(Object.keys(util), Object.keys(load()));
  for (const [name, value] of Object.entries(load())) assert.equal(util[name], value, name);
  assert.deepEqual(documented('index.d.ts').sort(), Object.keys(util).sort());
});

test('gives each function with a callback a form that returns a promise', async () => {
  const withCallback = [...fs.readFileSync(path.join(lib, 'index.d.ts'), 'utf8')
    .matchAll(/export function (\w+)\([^;]*callback:/g)].map(([, name]) => name);
  assert.ok(withCallback.includes('enumProcessList'));
  assert.deepEqual(Object.keys(promises).sort(), withCallback.sort());
  assert.deepEqual(documented('promises.d.ts').sort(), withCallback.sort());
  const { list } = await Promise.resolve('not for the function').then(promises.enumProcessList);
  assert.ok(list.some(({ pid }) => pid === process.pid));
});
