// A browser would ask for a module when it has read the one that imports it, which takes a way to and fro for each floor of the page.
import assert from 'node:assert/strict';
import { readFileSync } from 'node:fs';
import { test } from 'node:test';

const page = new URL('../../../page/', import.meta.url);

/** All that a module imports, and what that imports. @param {string} path @param {Set<string>} found */
function importsOf(path, found) {
  const text = readFileSync(new URL(path, page), 'utf8');
  for (const [, target] of text.matchAll(/^(?:import|export)\b[^;]*? from '(\.[^']*)';$/gm)) {
    const imported = new URL(target, new URL(path, page)).pathname.slice(page.pathname.length);
    if (found.has(imported)) continue;
    found.add(imported);
    importsOf(imported, found);
  }
  return found;
}

test('every module is asked for at once', () => {
  const links = readFileSync(new URL('index.html', page), 'utf8').matchAll(/<link rel="modulepreload" href="([^"]*)"/g);
  const imported = [...importsOf('main.js', new Set())];
  assert.ok(imported.length > 20, `${imported.length}`);
  assert.deepEqual([...links].map(([, path]) => path).sort(), imported.sort());
});
