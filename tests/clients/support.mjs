// The server under test, whose path comes in TOVRA_SERVER, and what the tests do with it.
import assert from "node:assert/strict";
import { execFile, spawn } from "node:child_process";
import { once } from "node:events";
import { mkdtempSync, readFileSync, rmSync, writeFileSync } from "node:fs";
import { tmpdir } from "node:os";
import { after } from "node:test";
import { promisify } from "node:util";

import { Client } from "@modelcontextprotocol/client";
import { StdioClientTransport } from "@modelcontextprotocol/client/stdio";

export const server = process.env.TOVRA_SERVER;
const folder = mkdtempSync(`${tmpdir()}/tovra-clients-`);
after(() => rmSync(folder, { recursive: true }));

// The tools in the order of their list, with the text that each answers on such a data file as below.
import tools from "./golden/tools.json" with { type: "json" };
export { tools };

// A data file with one goal and nothing else; gives its path.
export function dataFile() {
    const path = `${mkdtempSync(`${folder}/data-`)}/data.json`;
    writeFileSync(path, JSON.stringify({ goals: [{ name: "Trip", currency: "EUR", target: 100 }] }));
    return path;
}

// Serves a new data file over HTTP, on a port that the system picks, for as long as visit(url, file) takes.
export async function withHttp(token, visit) {
    const file = dataFile();
    const env = { TOVRA_DATA_FILE: file, TOVRA_MCP_TOKEN: token };
    const child = spawn(server, ["--http", "0"], { env, stdio: ["ignore", "ignore", "pipe"], timeout: 60_000 });
    const exited = once(child, "exit");
    try {
        const [line] = await Promise.race([once(child.stderr, "data"), exited]);
        const [, port] = /^Tovra MCP HTTP listening on 127\.0\.0\.1:(\d+) /.exec(line);
        await visit(new URL(`http://127.0.0.1:${port}/mcp`), file);
    } finally {
        child.kill("SIGTERM");
    }
    assert.deepEqual(await exited, [0, null]);
}

// Everything that a host does with a server, and what it has to get.
export async function converse(client, transport, file) {
    await client.connect(transport);
    assert.deepEqual(client.getServerVersion(), { name: "tovra", version: "1.0.0" });
    assert.deepEqual(client.getServerCapabilities(), { tools: {} });
    await client.ping();
    const listed = await client.listTools();
    assert.deepEqual(listed.tools.map(({ name }) => name), Object.keys(tools));

    const calls = { ...tools, no_such_tool: { text: "Unknown tool: no_such_tool", isError: true } };
    for (const [name, { text, args = {}, isError = false }] of Object.entries(calls)) {
        const result = await client.callTool({ name, arguments: args });
        assert.deepEqual(result, { content: [{ type: "text", text }], isError }, name);
    }
    await assert.rejects(client.getPrompt({ name: "any" }), { code: -32601 });
    await client.close();

    const { transactions, goals } = JSON.parse(readFileSync(file));
    assert.deepEqual([transactions[0].payee, goals[0].saved], ["Café", 29]);
}

// Starts a server, or a bridge to one, with those arguments and that environment beside PATH, for as
// long as visit(client) takes.
export async function withStdio(command, args, env, visit) {
    const client = new Client({ name: "test", version: "1" });
    const transport = new StdioClientTransport({ command, args, stderr: "ignore", env: { PATH: process.env.PATH, HOME: folder, ...env } });
    try {
        await client.connect(transport);
        return await visit(client);
    } finally {
        await transport.close();
    }
}

// Runs a program, or a command of an installed package, which npm has put in PATH; gives what it printed
// in stdout and stderr. Rejects with the same where it fails or takes longer than 60 s.
export const run = (command, ...args) => {
    const options = typeof args[0] === "object" ? args.shift() : {};
    return promisify(execFile)(command, args, { cwd: folder, timeout: 60_000, ...options,
        env: { HOME: folder, PATH: process.env.PATH, ...options.env } });
};
