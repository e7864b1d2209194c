// Widely used clients that are not the official SDK's own, and the bridges between the transports and
// between the protocol's generations.
import assert from "node:assert/strict";
import { spawn } from "node:child_process";
import { once } from "node:events";
import { createServer } from "node:net";
import { test } from "node:test";
import { setTimeout } from "node:timers/promises";

import { createMCPClient } from "@ai-sdk/mcp";
import { Experimental_StdioMCPTransport as AiStdioTransport } from "@ai-sdk/mcp/mcp-stdio";
import { MultiServerMCPClient } from "@langchain/mcp-adapters";
import { Client, StreamableHTTPClientTransport } from "@modelcontextprotocol/client";
import { StdioClientTransport } from "@modelcontextprotocol/client/stdio";

import { converse, dataFile, server, tools, withHttp } from "./support.mjs";

const bearer = { Authorization: "Bearer s3cret" };

// What each tool answers, asked through a client: call(name, arguments) gives the text.
async function askAll(listed, call) {
    assert.deepEqual(listed, Object.keys(tools));
    for (const [name, { text, args = {} }] of Object.entries(tools)) assert.equal(await call(name, args), text, name);
}

async function askLangChain(connection) {
    const client = new MultiServerMCPClient({ mcpServers: { tovra: connection }, useStandardContentBlocks: false });
    try {
        const found = await client.getTools();
        const named = Object.fromEntries(found.map((tool) => [tool.name, tool]));
        await askAll(Object.keys(named), (name, args) => named[name].invoke(args));
    } finally {
        await client.close();
    }
}

async function askAiSdk(transport) {
    const client = await createMCPClient({ transport });
    try {
        const found = await client.tools();
        await askAll(Object.keys(found), async (name, args) =>
            (await found[name].execute(args, { toolCallId: "1", messages: [] })).content[0].text);
    } finally {
        await client.close();
    }
}

test("LangChain's adapters over standard input", () =>
    askLangChain({ transport: "stdio", command: server, args: [], env: { TOVRA_DATA_FILE: dataFile() } }));
test("LangChain's adapters over HTTP", () => withHttp("s3cret", ({ href }) =>
    askLangChain({ transport: "http", url: href, headers: bearer })));

test("the AI SDK over standard input", () =>
    askAiSdk(new AiStdioTransport({ command: server, env: { TOVRA_DATA_FILE: dataFile() } })));
test("the AI SDK over HTTP", () => withHttp("s3cret", ({ href }) =>
    askAiSdk({ type: "http", url: href, headers: bearer })));

test("mcp-remote, from standard input to HTTP", () => withHttp("s3cret", async ({ href }, file) => {
    const transport = new StdioClientTransport({ command: "mcp-remote", stderr: "ignore",
        args: [href, "--header", "Authorization:Bearer s3cret"], env: process.env });
    await converse(new Client({ name: "test", version: "1" }), transport, file);
}));

const freePort = async () => {
    const listener = createServer().listen(0, "127.0.0.1");
    await once(listener, "listening");
    const { port } = listener.address();
    listener.close();
    return String(port);
};

// A client that knows nothing older than the revision 2026-07-28, which has no initialize.
test("mcp-proxy, for a client pinned to 2026-07-28", async (context) => {
    const port = await freePort();
    const file = dataFile();
    const proxy = spawn("mcp-proxy", ["--host", "127.0.0.1", "--port", port, "--server", "stream", "--", server],
        { env: { ...process.env, TOVRA_DATA_FILE: file }, stdio: ["ignore", "ignore", "inherit"], timeout: 60_000 });
    context.after(() => proxy.kill("SIGTERM"));
    const address = new URL(`http://127.0.0.1:${port}/mcp`);
    for (let tries = 0; tries < 100 && !await fetch(address).catch(() => null); ++tries) await setTimeout(100);

    const pinned = { versionNegotiation: { mode: { pin: "2026-07-28" } } };
    const newClient = () => new Client({ name: "test", version: "1" }, pinned);
    const client = newClient();
    await client.connect(new StreamableHTTPClientTransport(address));
    await askAll((await client.listTools()).tools.map(({ name }) => name), async (name, args) =>
        (await client.callTool({ name, arguments: args })).content[0].text);
    await client.close();

    const alone = new StdioClientTransport({ command: server, env: { TOVRA_DATA_FILE: file } });
    context.after(() => alone.close());
    await assert.rejects(newClient().connect(alone), /did not offer pinned protocol version/);
});
