// The official TypeScript SDK's clients, over both transports: the current major version as it
// comes and as it looks for a newer protocol first, and the major version before it.
import assert from "node:assert/strict";
import { readFileSync } from "node:fs";
import { test } from "node:test";

import * as current from "@modelcontextprotocol/client";
import * as currentStdio from "@modelcontextprotocol/client/stdio";
import * as previous from "@modelcontextprotocol/sdk/client/index.js";
import * as previousStdio from "@modelcontextprotocol/sdk/client/stdio.js";
import * as previousHttp from "@modelcontextprotocol/sdk/client/streamableHttp.js";

import { dataFile, server, toolNames, withHttp } from "./server.mjs";

const version1 = { ...previous, ...previousStdio, ...previousHttp };
const version2 = { ...current, ...currentStdio };
const clients = [
    { name: "version 1", sdk: version1 },
    { name: "version 2", sdk: version2 },
    { name: "version 2, probing", sdk: version2, options: { versionNegotiation: { mode: "auto" } } },
];

const reports = [
    ["get_overview", "Base currency: USD\nNet worth: USD 0.00\n" +
        "This month — income: USD 0.00, spending: USD 0.00, net: USD 0.00"],
    ["list_transactions", "No matching transactions."],
    ["spending_by_category", "No spending in the last 30 days."],
    ["list_budgets", "No budgets set."],
    ["list_goals", "Savings goals:\n  • Trip: EUR 0.00 / EUR 100.00 (0%)"],
];

async function call(client, name, args = {}) {
    const result = await client.callTool({ name, arguments: args });
    assert.equal(result.content.length, 1, name);
    return [result.isError, result.content[0].text];
}

// Everything that a host does with a server, and what it has to get.
async function converse(client, transport, file) {
    await client.connect(transport);
    assert.deepEqual(client.getServerVersion(), { name: "tovra", version: "1.0.0" });
    assert.deepEqual(client.getServerCapabilities(), { tools: {} });
    await client.ping();
    const { tools } = await client.listTools();
    assert.deepEqual(tools.map((tool) => tool.name), toolNames);

    for (const [name, expected] of reports) {
        assert.deepEqual(await call(client, name), [false, expected]);
    }
    assert.deepEqual(await call(client, "add_transaction", { amount: 4.5, payee: "Café", category: "Food" }), [
        false, "Added: −USD 4.50 Café [Food]. Reopen or refresh Tovra to see it."]);
    assert.deepEqual(await call(client, "add_to_goal", { goal: "trip", amount: 29 }), [
        false, 'Added EUR 29.00 to "Trip". New total: EUR 29.00.']);
    assert.deepEqual(await call(client, "no_such_tool"), [true, "Unknown tool: no_such_tool"]);
    await assert.rejects(client.getPrompt({ name: "any" }), { code: -32601 });
    await client.close();

    const saved = JSON.parse(readFileSync(file));
    assert.equal(saved.transactions[0].payee, "Café");
    assert.equal(saved.goals[0].saved, 29);
}

for (const { name, sdk, options } of clients) {
    const newClient = () => new sdk.Client({ name: "test", version: "1" }, options);

    test(`${name} over standard input`, async () => {
        const file = dataFile();
        const transport = new sdk.StdioClientTransport({ command: server, env: { TOVRA_DATA_FILE: file } });
        await converse(newClient(), transport, file);
    });

    for (const token of [undefined, "s3cret"]) {
        test(`${name} over HTTP ${token ? "with" : "without"} a token`, async () => {
            const file = dataFile();
            await withHttp(file, token, async (url) => {
                const open = (headers) => new sdk.StreamableHTTPClientTransport(url, { requestInit: { headers } });
                await converse(newClient(), open(token && { Authorization: `Bearer ${token}` }), file);
                if (token) {
                    const refused = newClient().connect(open({ Authorization: "Bearer wrong" }));
                    await assert.rejects(refused, /401|unauthorized/i);
                }
            });
        });
    }
}
