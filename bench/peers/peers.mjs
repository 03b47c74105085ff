// Times ajv and zod on the search tool's requests.
//
//   node peers.mjs CASES_JSON PEER CASE      prints nanoseconds a request
//   node peers.mjs CASES_JSON                prints all pairs of PEER and CASE, one a line
//
// CASES_JSON is what `bench_tool_binding --cases` writes. A process times one pair, so that the
// compiler sees one shape of work.

import Ajv from 'ajv';
import {deepStrictEqual, strictEqual} from 'node:assert';
import {closest, distance} from 'fastest-levenshtein';
import {readFileSync} from 'node:fs';
import * as z from 'zod';

const {schema, requests, lines, answers} = JSON.parse(readFileSync(process.argv[2], 'utf8'));
const names = Object.keys(schema.properties);
const synonyms = new Map(names.flatMap(
    (name) => (schema.properties[name]['x-synonyms'] ?? []).map((synonym) => [synonym, name])));
const allNames = [...names, ...synonyms.keys()];
const bounded = names.map((name) => ({name, ...schema.properties[name]}))
                    .filter(({minimum}) => minimum !== undefined);
const takes = `It takes: ${names.join(', ')}.`;
const typeWords = {
  integer: 'a whole number', number: 'a number', boolean: 'true or false', string: 'text',
  array: 'a list (or comma-separated text)',
};

// What neither peer does of itself.

const split = (text) => text.split(',').map((item) => item.trim()).filter((item) => item !== '');

// A copy under the declared names, with lists split and numbers brought within their bounds.
function prepared(request) {
  const args = {};
  const notes = [];
  for (const name in request) {
    const value = request[name];
    if (value === null || value === '') continue;
    const declared = synonyms.get(name);
    if (declared === undefined) {
      args[name] = value;
    } else if (args[declared] === undefined) {
      args[declared] = value;
      notes.push(`'${name}' was read as '${declared}'`);
    } else {
      notes.push(`'${name}' was left out: '${declared}' was given too`);
    }
  }
  const list = args.languages;
  if (typeof list === 'string') args.languages = split(list);
  else if (Array.isArray(list)) args.languages = list.slice();
  for (const {name, minimum, maximum} of bounded) {
    const number = Number(args[name]);
    if (number < minimum) {
      notes.push(`'${name}' ${number} is below the minimum: ${minimum} was used`);
      args[name] = minimum;
    } else if (number > maximum) {
      notes.push(`'${name}' ${number} is above the maximum: ${maximum} was used`);
      args[name] = maximum;
    }
  }
  return {args, notes};
}

function unknownName(name) {
  const near = closest(name, allNames);
  const isNear = distance(name, near) <= 0.4 * Math.max(name.length, near.length);
  const offer = isNear ? ` Did you mean '${synonyms.get(near) ?? near}'?` : '';
  return `Unknown parameter '${name}' for code_search.${offer} ${takes}`;
}

function wrongValue(name, value) {
  const {type, enum: entries} = schema.properties[name];
  const wanted = entries ? `one of: ${entries.join(', ')}` : typeWords[type];
  return `Parameter '${name}' of code_search must be ${wanted}, not ${JSON.stringify(value)}`;
}

// ajv

const ajv = new Ajv({coerceTypes: true, useDefaults: true, allErrors: true, strict: false});
const validate = ajv.compile(schema);

function ajvProblem(error, args) {
  switch (error.keyword) {
    case 'additionalProperties':
      return unknownName(error.params.additionalProperty);
    case 'required':
      return `code_search needs '${error.params.missingProperty}'`;
    default: {
      const name = error.instancePath.split('/')[1];
      return wrongValue(name, args[name]);
    }
  }
}

// The request stays as it is.
function withAjv(request) {
  const {args, notes} = prepared(request);
  if (validate(args)) return {bound: args, notes};
  return {problems: validate.errors.map((error) => ajvProblem(error, args)).join('; ')};
}

// No synonyms, notes or suggestions; the request itself is changed.
function withAjvInPlace(request) {
  if (typeof request.languages === 'string') request.languages = split(request.languages);
  return validate(request) ? {bound: request} : {problems: validate.errors};
}

// zod

const boolean = z.union([z.boolean(), z.stringbool()]);
const zodSchema = z.strictObject({
  query: z.string(),
  path: z.string().optional(),
  limit: z.coerce.number().int().min(1).max(1000).default(50),
  offset: z.coerce.number().int().min(0).optional(),
  context: z.coerce.number().min(0).max(10).default(2),
  case_sensitive: boolean.default(true),
  regex: boolean.optional(),
  kind: z.enum(schema.properties.kind.enum).default('any'),
  languages: z.preprocess((list) => typeof list === 'string' ? split(list) : list,
                          z.array(z.string()).optional()),
  since: z.string().optional(),
});

function zodProblem(issue, args) {
  if (issue.code === 'unrecognized_keys') return issue.keys.map(unknownName).join('; ');
  const name = issue.path[0];
  return name in args ? wrongValue(name, args[name]) : `code_search needs '${name}'`;
}

function withZod(request) {
  const {args, notes} = prepared(request);
  const result = zodSchema.safeParse(args);
  if (result.success) return {bound: result.data, notes};
  return {problems: result.error.issues.map((issue) => zodProblem(issue, args)).join('; ')};
}

// No synonyms, notes or suggestions.
function withPlainZod(request) {
  const result = zodSchema.safeParse(request);
  return result.success ? {bound: result.data} : {problems: result.error.issues};
}

// Measuring

const peers = {
  ajv: {answer: withAjv},
  ajv_in_place: {answer: withAjvInPlace, plain: true, changes: true},
  zod: {answer: withZod},
  zod_plain: {answer: withPlainZod, plain: true},
};

function answerOf({answer, isRoad}, name) {
  const answered = answer(isRoad ? lines[name] : structuredClone(requests[name]));
  return typeof answered === 'string' ? JSON.parse(answered) : answered;
}

function check(peer, name) {
  const {plain, onlyIn} = peer;
  if (onlyIn !== undefined) return;
  const expected = answers[name];
  const {bound, notes, problems} = answerOf(peer, name);
  if (typeof expected.problems === 'string') {
    strictEqual(typeof problems, plain ? 'object' : 'string');
    if (!plain) strictEqual(problems.split('; ').length, expected.problems.split('; ').length);
    return;
  }
  for (const parameter of names) {
    deepStrictEqual(bound[parameter] ?? null, expected.bound[parameter]);
  }
  if (!plain) deepStrictEqual(notes, expected.notes);
}

// The whole road: from a request's line to its answer, and to the answer's line. The line is text
// already, which JavaScript would have to decode from bytes first.
for (const name of ['ajv', 'zod']) {
  const tools = {code_search: peers[name].answer};
  const bound = (text) => {
    const request = JSON.parse(text);
    return tools[request.tool](request.arguments);
  };
  peers[`${name}_wire`] = {answer: bound, isRoad: true};
  peers[`${name}_wire_answer`] = {answer: (text) => JSON.stringify(bound(text)), isRoad: true};
}

const onlyIn = ['clean', 'list/1000'];
peers.json_parse = {answer: JSON.parse, isRoad: true, onlyIn};
peers.json_stringify = {answer: JSON.stringify, onlyIn};

let sink;

// Milliseconds for `count` requests. Those that are changed are copied before the clock runs.
function time({answer, changes}, request, count) {
  const inputs = new Array(changes ? count : 1);
  for (let i = 0; i < inputs.length; ++i) inputs[i] = changes ? structuredClone(request) : request;
  const start = performance.now();
  if (changes) {
    for (let i = 0; i < count; ++i) sink = answer(inputs[i]);
  } else {
    for (let i = 0; i < count; ++i) sink = answer(request);
  }
  return performance.now() - start;
}

function measure(peer, name) {
  check(peer, name);
  const request = peer.isRoad ? lines[name] : requests[name];
  let count = 1;
  while (time(peer, request, count) < 2 && count < 1e5) count *= 2;
  for (const end = performance.now() + 300; performance.now() < end;) time(peer, request, count);
  const samples = [];
  for (const end = performance.now() + 300; performance.now() < end || samples.length < 5;) {
    samples.push(time(peer, request, count) / count);
  }
  check(peer, name);
  samples.sort((a, b) => a - b);
  return 1e6 * samples[Math.floor(samples.length / 10)];
}

const [peerName, caseName] = process.argv.slice(3);
if (peerName !== undefined) {
  console.log(measure(peers[peerName], caseName).toFixed(1));
} else {
  for (const peer in peers) {
    for (const name in requests) {
      const {plain, onlyIn = Object.keys(requests)} = peers[peer];
      if (onlyIn.includes(name) && !(plain && name === 'notes')) console.log(`${peer} ${name}`);
    }
  }
}
