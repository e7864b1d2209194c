// The official TypeScript SDK's own clients against the built server, over both transports.
// Usage: node --test sdk_test.mjs, with the server's path in TOVRA_SERVER.
import assert from "node:assert/strict";
import { spawn } from "node:child_process";
import { mkdtempSync, readFileSync, rmSync, writeFileSync } from "node:fs";
import { tmpdir } from "node:os";
import { join } from "node:path";
import { after, test } from "node:test";

import { Client } from "@modelcontextprotocol/sdk/client/index.js";
import { StdioClientTransport } from "@modelcontextprotocol/sdk/client/stdio.js";
import { StreamableHTTPClientTransport } from "@modelcontextprotocol/sdk/client/streamableHttp.js";

const server = process.env.TOVRA_SERVER;
const folder = mkdtempSync(join(tmpdir(), "tovra-clients-"));
after(() => rmSync(folder, { recursive: true }));

const reports = ["get_overview", "list_transactions", "spending_by_category", "list_budgets", "list_goals"];
const recordings = ["add_transaction", "add_to_goal"];

function dataFile(name) {
    const path = join(folder, name);
    writeFileSync(path, JSON.stringify({ goals: [{ name: "Trip", currency: "EUR", target: 100 }] }));
    return path;
}

async function text(client, name, args = {}) {
    const result = await client.callTool({ name, arguments: args });
    assert.equal(result.content.length, 1);
    return [result.isError, result.content[0].text];
}

// Everything that a host does with a server, and what it has to get.
async function converse(transport, file) {
    const client = new Client({ name: "test", version: "1" });
    await client.connect(transport);
    assert.deepEqual(client.getServerVersion(), { name: "tovra", version: "1.0.0" });
    assert.deepEqual(client.getServerCapabilities(), { tools: {} });
    await client.ping();
    const { tools } = await client.listTools();
    assert.deepEqual(tools.map((tool) => tool.name), [...reports, ...recordings]);

    const expected = [
        "Base currency: USD\nNet worth: USD 0.00\n" +
            "This month — income: USD 0.00, spending: USD 0.00, net: USD 0.00",
        "No matching transactions.",
        "No spending in the last 30 days.",
        "No budgets set.",
        "Savings goals:\n  • Trip: EUR 0.00 / EUR 100.00 (0%)",
    ];
    for (const [i, name] of reports.entries()) {
        assert.deepEqual(await text(client, name), [false, expected[i]]);
    }
    assert.deepEqual(await text(client, "add_transaction", { amount: 4.5, payee: "Café", category: "Food" }), [
        false, "Added: −USD 4.50 Café [Food]. Reopen or refresh Tovra to see it."]);
    assert.deepEqual(await text(client, "add_to_goal", { goal: "trip", amount: 29 }), [
        false, 'Added EUR 29.00 to "Trip". New total: EUR 29.00.']);
    assert.deepEqual(await text(client, "no_such_tool"), [true, "Unknown tool: no_such_tool"]);
    await assert.rejects(client.listPrompts(), /-32601|does not support/);
    await client.close();

    const saved = JSON.parse(readFileSync(file));
    assert.equal(saved.transactions[0].payee, "Café");
    assert.equal(saved.goals[0].saved, 29);
}

test("standard input", async () => {
    const file = dataFile("stdio.json");
    await converse(new StdioClientTransport({ command: server, env: { TOVRA_DATA_FILE: file } }), file);
});

// Starts the server on a port that the system picks, and gives its address.
async function startHttp(file, ...options) {
    const child = spawn(server, ["--http", "0", ...options], { env: { TOVRA_DATA_FILE: file } });
    const exited = new Promise((resolve) => child.on("exit", resolve));
    let line = "";
    for await (const chunk of child.stderr) {
        line += chunk;
        if (line.includes("\n")) break;
    }
    const port = /^Tovra MCP HTTP listening on 127\.0\.0\.1:(\d+) /.exec(line)[1];
    return { child, exited, url: new URL(`http://127.0.0.1:${port}/mcp`) };
}

function withToken(url, token) {
    const requestInit = token ? { headers: { Authorization: `Bearer ${token}` } } : {};
    return new StreamableHTTPClientTransport(url, { requestInit });
}

for (const token of [undefined, "s3cret"]) {
    test(`HTTP ${token ? "with" : "without"} a token`, async () => {
        const file = dataFile(`http-${token}.json`);
        const { child, exited, url } = await startHttp(file, ...(token ? ["--token", token] : []));
        try {
            await converse(withToken(url, token), file);
            if (token) {
                const intruder = new Client({ name: "test", version: "1" });
                await assert.rejects(intruder.connect(withToken(url, "wrong")), /401|Unauthorized/i);
            }
        } finally {
            child.kill("SIGTERM");
        }
        assert.equal(await exited, 0);
    });
}
