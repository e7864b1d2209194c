// The official conformance runner against HTTP mode. Its scenarios ask for a server that has
// everything the protocol knows: conformance.yml lists those that have to fail, the table below
// those that have to pass, so that a change in either direction shows.
import assert from "node:assert/strict";
import { test } from "node:test";
import { fileURLToPath } from "node:url";

import { run } from "./run.mjs";
import { dataFile, withHttp } from "./server.mjs";

const expectedFailures = fileURLToPath(new URL("conformance.yml", import.meta.url));

// Scenarios that exercise this server, with the number of their checks.
const meaningful = {
    "server-initialize": 1,
    "ping": 1,
    "tools-list": 1,
    "dns-rebinding-protection": 2,
};

// Scenarios that pass for nothing: they call tools that only a reference server has, and are
// content with the answer that there is no such tool.
const empty = {
    "tools-call-simple-text": 1,
    "tools-call-error": 1,
};

test("conformance", async (context) => {
    await withHttp(dataFile(), undefined, async (url) => {
        const { status, output, errors } = await run("conformance", "server", "--url", url.href,
            "--suite", "all", "--expected-failures", expectedFailures);
        assert.equal(status, 0, output.slice(output.indexOf("=== SUMMARY")) + errors);
        const passes = output.matchAll(/^✓ ([\w-]+): ([1-9]\d*) passed, 0 failed$/gm);
        assert.deepEqual(
            Object.fromEntries(Array.from(passes, ([, name, checks]) => [name, Number(checks)])),
            { ...meaningful, ...empty });
        context.diagnostic(`pass: ${Object.keys(meaningful).join(", ")}`);
        context.diagnostic(`pass for nothing: ${Object.keys(empty).join(", ")}`);
    });
});
