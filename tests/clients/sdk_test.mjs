// The official TypeScript SDK's clients, over both transports: the current major version as it
// comes and as it looks for a newer protocol first, and the major version before it.
import assert from "node:assert/strict";
import { readFileSync } from "node:fs";
import { test } from "node:test";

import { dataFile, server, tools, withHttp } from "./support.mjs";

// All that these modules export.
const load = async (...modules) =>
    Object.assign({}, ...await Promise.all(modules.map((name) => import(`@modelcontextprotocol/${name}`))));
const version2 = await load("client", "client/stdio");
const clients = {
    "version 1": { sdk: await load("sdk/client/index.js", "sdk/client/stdio.js", "sdk/client/streamableHttp.js") },
    "version 2": { sdk: version2 },
    "version 2, probing": { sdk: version2, options: { versionNegotiation: { mode: "auto" } } },
};

// Everything that a host does with a server, and what it has to get.
async function converse(client, transport, file) {
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

for (const [name, { sdk, options }] of Object.entries(clients)) {
    const newClient = () => new sdk.Client({ name: "test", version: "1" }, options);

    test(`${name} over standard input`, async (context) => {
        const file = dataFile();
        const transport = new sdk.StdioClientTransport({ command: server, env: { TOVRA_DATA_FILE: file } });
        context.after(() => transport.close());
        await converse(newClient(), transport, file);
    });

    for (const token of [undefined, "s3cret"]) {
        test(`${name} over HTTP, token: ${token}`, () => withHttp(token, async (url, file) => {
            const open = (bearer) => new sdk.StreamableHTTPClientTransport(url,
                { requestInit: { headers: bearer && { Authorization: `Bearer ${bearer}` } } });
            await converse(newClient(), open(token), file);
            if (token) await assert.rejects(newClient().connect(open("wrong")), /401|unauthorized/i);
        }));
    }
}
