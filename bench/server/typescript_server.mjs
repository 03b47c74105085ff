// The tools of bench_server.cpp on the official TypeScript server, with zod.

import { McpServer } from '@modelcontextprotocol/server';
import { StdioServerTransport } from '@modelcontextprotocol/server/stdio';
import { z } from 'zod';

const server = new McpServer({ name: 'bench', version: '1.0' });
const search = z.strictObject({
  query: z.string(),
  mode: z.enum(['literal', 'regex']).default('literal'),
  limit: z.coerce.number().int().min(1).max(200).default(20),
  paths: z.array(z.string()).default([]),
});
server.registerTool('search', { description: 'Finds text in files.', inputSchema: search },
  ({ query, mode, limit, paths }) => ({
    content: [{ type: 'text', text: `${query} ${mode} ${limit} ${paths.length}` }],
  }));
await server.connect(new StdioServerTransport());
