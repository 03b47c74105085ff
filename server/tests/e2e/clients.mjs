// Calls every tool of a server with the official clients, well and badly.
//
//   node clients.mjs CALLS.json SERVER [ARGUMENT...]
//
// CALLS.json has a list of `calls`, each {tool, arguments, and of what comes back one of
//   text    a part of the text of a result that is no error
//   refusal a part of the text of a result with isError
//   error   the code of a protocol error}
// A call may have `has`: members that the result must have. Every tool that the server lists must be
// called with success, and with a refusal or an error, but for those of `exempt`, {tool: reason}.

import { execFileSync } from 'node:child_process';
import { readFileSync } from 'node:fs';
import { createRequire } from 'node:module';
import { dirname, join } from 'node:path';
import { isDeepStrictEqual } from 'node:util';

import { Client } from '@modelcontextprotocol/client';
import { StdioClientTransport } from '@modelcontextprotocol/client/stdio';
import { Client as LegacyClient } from '@modelcontextprotocol/sdk/client/index.js';
import { StdioClientTransport as LegacyTransport } from '@modelcontextprotocol/sdk/client/stdio.js';

const [callsFile, command, ...args] = process.argv.slice(2);
const { calls, exempt = {} } = JSON.parse(readFileSync(callsFile, 'utf8'));
const about = { name: 'e2e', version: '1.0' };

const modern = (options) => () => [
  new Client(about, options),
  new StdioClientTransport({ command, args, stderr: 'ignore' }),
];
const clients = {
  'sdk 1.32': () => [
    new LegacyClient(about),
    new LegacyTransport({ command, args, stderr: 'ignore' }),
  ],
  'client 2.4': modern({}),
  'client 2.4, auto': modern({ versionNegotiation: { mode: 'auto' } }),
  'client 2.4, 2026-07-28': modern({ versionNegotiation: { mode: { pin: '2026-07-28' } } }),
};

let passed = 0;
let failed = 0;
function check(name, fault) {
  if (!fault) return ++passed;
  ++failed;
  console.error(`FAILED  ${name}: ${fault}`);
}

// Whether all that `wanted` has is in `found`.
function contains(found, wanted) {
  if (typeof wanted !== 'object' || wanted === null || Array.isArray(wanted)) {
    return isDeepStrictEqual(found, wanted);
  }
  return Object.entries(wanted).every(([name, value]) => contains(found?.[name], value));
}

// What is wrong with what came of a call; nothing: all is well.
function fault(call, result) {
  const text = (result.content ?? []).map((block) => block.text ?? '').join('\n');
  const wanted = call.refusal ?? call.text;
  if (wanted === undefined) return `a result instead of error ${call.error}: ${text}`;
  if (Boolean(result.isError) !== (call.refusal !== undefined)) return `isError: ${result.isError}: ${text}`;
  if (!text.includes(wanted)) return `no '${wanted}' in: ${text}`;
  if (call.has && !contains(result, call.has)) return `not as wanted: ${JSON.stringify(result)}`;
}

async function makeCall(client, call) {
  try {
    return fault(call, await client.callTool({ name: call.tool, arguments: call.arguments }));
  } catch (error) {
    return error.code === call.error ? undefined : `error ${error.code}: ${error.message}`;
  }
}

// Which of the tools the table leaves out.
function checkTable(tools) {
  for (const { name } of tools.filter((tool) => !exempt[tool.name])) {
    const own = calls.filter((call) => call.tool === name);
    check(`${name} in the table`, own.some((call) => call.text !== undefined) ? '' : 'not called well');
    check(`${name} in the table`, own.some((call) => call.text === undefined) ? '' : 'not called badly');
  }
}

async function runClient(name, make) {
  const [client, transport] = make();
  try {
    await client.connect(transport);
    const { tools } = await client.listTools();
    checkTable(tools);
    for (const call of calls) {
      check(`${name}: ${call.tool} ${JSON.stringify(call.arguments)}`, await makeCall(client, call));
    }
    console.log(`${name}: ${tools.length} tools, ${calls.length} calls`);
  } catch (error) {
    check(name, error.stack);
  }
  await client.close();
}

function inspect(...options) {
  const manifest = createRequire(import.meta.url).resolve('@modelcontextprotocol/inspector/package.json');
  const program = join(dirname(manifest), 'clients/launcher/build/index.js');
  const all = [program, '--cli', command, ...args, ...options];
  return JSON.parse(execFileSync(process.execPath, all, { encoding: 'utf8', stdio: ['ignore', 'pipe', 'ignore'] }));
}

// The inspector's command line takes each argument as name=value, and JSON as a value.
function runInspector() {
  const { tools } = inspect('--method', 'tools/list');
  check('inspector: tools/list', tools.length > 0 ? '' : 'no tools');
  const call = calls.find((one) => one.text && Object.keys(one.arguments ?? {}).length > 0);
  const pairs = Object.entries(call.arguments).map(
    ([name, value]) => `${name}=${typeof value === 'string' ? value : JSON.stringify(value)}`);
  const result = inspect('--method', 'tools/call', '--tool-name', call.tool, '--tool-arg', ...pairs);
  check(`inspector: ${call.tool}`, fault(call, result));
  console.log(`inspector: ${tools.length} tools, 1 call`);
}

for (const [name, make] of Object.entries(clients)) await runClient(name, make);
try {
  runInspector();
} catch (error) {
  check('inspector', `${error.message}\n${error.stdout ?? ''}`);
}
console.log(`${passed} passed, ${failed} failed`);
process.exit(failed === 0 && passed > 0 ? 0 : 1);
