// Checks every answer to the messages of a table against the types of the official packages.
//
//   node messages.mjs MESSAGES.txt SERVER [ARGUMENT...]
//
// MESSAGES.txt is the table of the unit tests: its lines of > are sent, each paragraph to a server
// process of its own.

import { spawnSync } from 'node:child_process';
import { readFileSync } from 'node:fs';

import * as modern from '@modelcontextprotocol/core';
import * as legacy from '@modelcontextprotocol/sdk/types.js';

const [file, command, ...args] = process.argv.slice(2);
const meta = '"_meta":{"io.modelcontextprotocol/protocolVersion":"2026-07-28",' +
    '"io.modelcontextprotocol/clientCapabilities":{}}';
const initialize = (revision) => ({ jsonrpc: '2.0', id: 0, method: 'initialize', params: { protocolVersion: revision } });
const resultTypes = {
  'initialize': 'InitializeResultSchema',
  'ping': 'EmptyResultSchema',
  'server/discover': 'DiscoverResultSchema',
  'tools/call': 'CallToolResultSchema',
  'tools/list': 'ListToolsResultSchema',
};

const messageOf = (line) =>
  line.startsWith('> $') ? JSON.stringify(initialize(line.slice(3))) : line.slice(2).replace('$modern', meta);

function parsed(line) {
  try {
    return JSON.parse(line);
  } catch {
    return undefined;  // some of the table are no JSON
  }
}

// The name of the type that a message from the server must have, and of its result.
function typesOf(message, methods) {
  if (message.method) return ['ProgressNotificationSchema'];
  if (message.error) return ['JSONRPCErrorResponseSchema'];
  return ['JSONRPCResultResponseSchema', resultTypes[methods.get(message.id)]];
}

// JavaScript has no larger integers.
const isSafe = ({ id }) => typeof id !== 'number' || Number.isSafeInteger(id);

// Throws what is wrong with a message.
function check(message, methods) {
  const [type, resultType] = typesOf(message, methods);
  const isModern = message.result?.resultType !== undefined;
  for (const types of message.result ? [isModern ? modern : legacy] : [modern, legacy]) {
    types[type].parse(message);
    if (resultType) types[resultType].parse(message.result);
  }
}

let passed = 0;
let failed = 0;
for (const paragraph of readFileSync(file, 'utf8').split('\n\n')) {
  const sent = paragraph.split('\n').filter((line) => line.startsWith('> ')).map(messageOf);
  const methods = new Map(sent.map(parsed).flat().filter(Boolean).map(({ id, method }) => [id, method]));
  const { stdout } = spawnSync(command, args, { input: sent.join('\n'), encoding: 'utf8' });
  for (const message of stdout.split('\n').filter(Boolean).map(JSON.parse).flat().filter(isSafe)) {
    try {
      check(message, methods);
      ++passed;
    } catch (error) {
      ++failed;
      console.error(`FAILED  ${JSON.stringify(message)}: ${error.message}`);
    }
  }
}
console.log(`messages: ${passed} passed, ${failed} failed`);
process.exit(failed === 0 && passed > 0 ? 0 : 1);
