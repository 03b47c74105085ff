// Runs the protocol's conformance suite over a server, for the older and the newer era.
//
//   node conformance.mjs SERVER [ARGUMENT...]
//
// expected_failures.REVISION.yml names each scenario that is expected to fail, and why; one that
// passes all the same is a failure too.

import { spawn } from 'node:child_process';
import { createRequire } from 'node:module';
import { dirname, join } from 'node:path';
import { fileURLToPath } from 'node:url';

import { startBridge } from './bridge.mjs';

const [command, ...args] = process.argv.slice(2);
const here = dirname(fileURLToPath(import.meta.url));
const manifest = createRequire(import.meta.url).resolve('@modelcontextprotocol/conformance/package.json');
const suite = join(dirname(manifest), 'dist/index.js');

function run(revision, url) {
  const options = ['server', '--url', url, '--requirements', revision,
                   '--expected-failures', join(here, `expected_failures.${revision}.yml`)];
  return new Promise((done) => {
    spawn(process.execPath, [suite, ...options], { stdio: 'inherit' }).on('close', done);
  });
}

const bridge = await startBridge(command, args);
let failed = 0;
for (const revision of ['2025-11-25', '2026-07-28']) failed += (await run(revision, bridge.url)) !== 0;
bridge.close();
console.log(`conformance: ${2 - failed} passed, ${failed} failed`);
process.exit(failed === 0 ? 0 : 1);
