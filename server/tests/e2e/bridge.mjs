// The protocol's HTTP transport in front of a server that speaks it over standard input and output,
// for a test suite that knows HTTP alone.
//
//   const bridge = await startBridge(command, args);
//   bridge.url     // http://127.0.0.1:PORT/mcp
//   bridge.close()
//
// A process serves each session of the older revisions, and each request of 2026-07-28, so that the
// ids of several clients never meet.

import { spawn } from 'node:child_process';
import { randomUUID } from 'node:crypto';
import { createServer } from 'node:http';
import { createInterface } from 'node:readline';

const modernKey = 'io.modelcontextprotocol/protocolVersion';

class Process {
  #child;
  #waiting = new Map();

  constructor(command, args) {
    this.#child = spawn(command, args, { stdio: ['pipe', 'pipe', 'ignore'] });
    createInterface({ input: this.#child.stdout }).on('line', (line) => this.#take(JSON.parse(line)));
  }

  // A notification belongs to the request that waits: the suite sends one at a time.
  #take(message) {
    const request = this.#waiting.get(message.id) ?? [...this.#waiting.values()].at(-1);
    if (message.method) return request?.before.push(message);
    this.#waiting.delete(message.id);
    request?.done({ answer: message, before: request.before });
  }

  send(message) {
    this.#child.stdin.write(JSON.stringify(message) + '\n');
  }
  ask(message) {
    return new Promise((done) => {
      this.#waiting.set(message.id, { before: [], done });
      this.send(message);
    });
  }
  end() {
    this.#child.stdin.end();
  }
}

const isLocal = (host) => /^(127\.0\.0\.1|localhost|\[::1\])(:\d+)?$/.test(host ?? '');

// Why a request is not for this server, as a status code.
function refusedWith({ method, headers }) {
  const { host, origin } = headers;
  if (!isLocal(host) || (origin && !isLocal(origin.replace(/^https?:\/\//, '')))) return 403;
  return ['POST', 'DELETE'].includes(method) ? 0 : 405;
}

function statusOf(isModern, { error }) {
  if (!isModern || !error) return 200;
  return error.code === -32601 ? 404 : 400;
}

function reply(response, status, answer, headers = {}) {
  response.writeHead(status, { ...(answer && { 'content-type': 'application/json' }), ...headers });
  response.end(answer && JSON.stringify(answer));
}

function replyAsEvents(response, messages) {
  response.writeHead(200, { 'content-type': 'text/event-stream' });
  for (const message of messages) response.write(`event: message\ndata: ${JSON.stringify(message)}\n\n`);
  response.end();
}

// What the transport itself answers in the newer revision: a header that differs from the message.
function headerFault({ headers }, { id, method, params }) {
  const revision = params?._meta?.[modernKey];
  if (revision === undefined) return;  // the server says so
  const wanted = { 'mcp-protocol-version': revision, 'mcp-method': method };
  const wrong = Object.keys(wanted).find((name) => headers[name] !== undefined && headers[name] !== wanted[name]);
  return wrong && { jsonrpc: '2.0', id, error: { code: -32020, message: `${wrong} differs from the message` } };
}

async function answerModern(request, response, message, start) {
  const fault = headerFault(request, message);
  if (fault) return reply(response, 400, fault);
  const server = start();
  const { answer, before } = await server.ask(message);
  server.end();
  if (before.length > 0) return replyAsEvents(response, [...before, answer]);
  reply(response, statusOf(true, answer), answer);
}

async function answerLegacy(request, response, message, sessions, start) {
  let session = request.headers['mcp-session-id'];
  if (message.method === 'initialize') sessions.set((session = randomUUID()), start());
  const server = sessions.get(session) ?? start();
  if (message.id === undefined || message.method === undefined) {
    server.send(message);
    return reply(response, 202);
  }
  const { answer, before } = await server.ask(message);
  if (before.length > 0) return replyAsEvents(response, [...before, answer]);
  reply(response, statusOf(false, answer), answer, session && { 'mcp-session-id': session });
}

async function take(request, response, sessions, start) {
  const status = refusedWith(request);
  if (status) return reply(response, status);
  const session = request.headers['mcp-session-id'];
  if (session && !sessions.has(session)) return reply(response, 404);
  if (request.method === 'DELETE') {
    sessions.get(session)?.end();
    sessions.delete(session);
    return reply(response, 200);
  }
  let body = '';
  for await (const part of request.setEncoding('utf8')) body += part;
  const message = JSON.parse(body);
  const hasRevision = message.params?._meta?.[modernKey] !== undefined ||
      request.headers['mcp-protocol-version'] === '2026-07-28';
  const isModern = message.id !== undefined && hasRevision;
  await (isModern ? answerModern(request, response, message, start)
                  : answerLegacy(request, response, message, sessions, start));
}

export async function startBridge(command, args) {
  const sessions = new Map();
  const start = () => new Process(command, args);
  const http = createServer((request, response) =>
    take(request, response, sessions, start).catch((error) => reply(response, 500, { fault: `${error}` })));
  await new Promise((ready) => http.listen(0, '127.0.0.1', ready));
  return {
    url: `http://127.0.0.1:${http.address().port}/mcp`,
    close() {
      for (const server of sessions.values()) server.end();
      http.close();
      http.closeAllConnections();
    },
  };
}
