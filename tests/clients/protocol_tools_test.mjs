// The protocol's own tools: its inspector in the command-line mode, over both transports, and the
// official conformance runner against HTTP mode.
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

// The scenarios ask for a server that has everything the protocol knows: conformance.yml lists those
// that have to fail, the tables below those that have to pass, with the number of their checks, so
// that a change in either direction shows.
const meaningful = { "server-initialize": 1, "ping": 1, "tools-list": 1, "dns-rebinding-protection": 2 };

// They pass for nothing: they call tools that only a reference server has, and are content with the
// answer that there is no such tool.
const empty = { "tools-call-simple-text": 1, "tools-call-error": 1 };

test("conformance", (context) => withHttp(undefined, async (url) => {
    const { stdout } = await run("conformance", "server", "--url", url.href, "--suite", "all",
        "--expected-failures", `${import.meta.dirname}/conformance.yml`);
    const passes = stdout.matchAll(/^✓ ([\w-]+): ([1-9]\d*) passed, 0 failed$/gm);
    const passed = Object.fromEntries(Array.from(passes, ([, name, checks]) => [name, Number(checks)]));
    assert.deepEqual(passed, { ...meaningful, ...empty });
    context.diagnostic(`pass: ${Object.keys(meaningful)}; pass for nothing: ${Object.keys(empty)}`);
}));
