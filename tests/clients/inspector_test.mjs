// The protocol's inspector in its command-line mode, over both transports.
import assert from "node:assert/strict";
import { test } from "node:test";

import { run } from "./run.mjs";
import { dataFile, server, toolNames, withHttp } from "./server.mjs";

const inspect = (...args) => run("mcp-inspector", "--cli", ...args);

async function result(...args) {
    const { status, output, errors } = await inspect(...args);
    assert.equal(status, 0, errors);
    return JSON.parse(output);
}

// Lists the tools, whose schemas --strict holds against what hosts in the field take, and calls one.
async function listAndCall(...target) {
    const { tools } = await result(...target, "--method", "tools/list", "--strict");
    assert.deepEqual(tools.map((tool) => tool.name), toolNames);
    const added = await result(...target, "--method", "tools/call", "--tool-name", "add_to_goal",
        "--tool-arg", "goal=trip", "amount=29");
    assert.deepEqual(added, {
        content: [{ type: "text", text: 'Added EUR 29.00 to "Trip". New total: EUR 29.00.' }],
        isError: false,
    });
}

test("inspector over standard input", async () => {
    await listAndCall(server, "-e", `TOVRA_DATA_FILE=${dataFile()}`);
});

test("inspector over HTTP", async () => {
    await withHttp(dataFile(), "s3cret", async (url) => {
        const target = [url.href, "--transport", "http", "--header"];
        await listAndCall(...target, "Authorization: Bearer s3cret");
        const { status, errors } = await inspect(
            ...target, "Authorization: Bearer wrong", "--method", "tools/list");
        assert.notEqual(status, 0);
        assert.match(errors, /auth_required/);
    });
});
