// The protocol's inspector in its command-line mode, over both transports.
import assert from "node:assert/strict";
import { test } from "node:test";

import { dataFile, run, server, tools, withHttp } from "./support.mjs";

// Lists the tools, whose schemas --strict holds against what hosts in the field take, and calls one.
async function listAndCall(...target) {
    const request = async (...method) =>
        JSON.parse((await run("mcp-inspector", "--cli", ...target, "--method", ...method)).stdout);

    const listed = await request("tools/list", "--strict");
    assert.deepEqual(listed.tools.map(({ name }) => name), Object.keys(tools));
    const added = await request("tools/call", "--tool-name", "add_to_goal", "--tool-arg", "goal=trip", "amount=29");
    assert.deepEqual(added, { content: [{ type: "text", text: tools.add_to_goal.text }], isError: false });
}

test("inspector over standard input", () => listAndCall(server, "-e", `TOVRA_DATA_FILE=${dataFile()}`));

test("inspector over HTTP", () => withHttp("s3cret", async (url) => {
    const bearing = (token) => [url.href, "--transport", "http", "--header", `Authorization: Bearer ${token}`];
    await listAndCall(...bearing("s3cret"));
    await assert.rejects(listAndCall(...bearing("wrong")), { stderr: /auth_required/ });
}));
