// The official conformance runner against HTTP mode. Its scenarios ask for a server that has
// everything the protocol knows: conformance.yml lists those that have to fail, the tables below
// those that have to pass, so that a change in either direction shows.
import assert from "node:assert/strict";
import { test } from "node:test";

import { run, withHttp } from "./support.mjs";

// Scenarios that exercise this server, with the number of their checks.
const meaningful = { "server-initialize": 1, "ping": 1, "tools-list": 1, "dns-rebinding-protection": 2 };

// Scenarios that pass for nothing: they call tools that only a reference server has, and are
// content with the answer that there is no such tool.
const empty = { "tools-call-simple-text": 1, "tools-call-error": 1 };

test("conformance", (context) => withHttp(undefined, async (url) => {
    const { stdout } = await run("conformance", "server", "--url", url.href, "--suite", "all",
        "--expected-failures", `${import.meta.dirname}/conformance.yml`);
    const passes = stdout.matchAll(/^✓ ([\w-]+): ([1-9]\d*) passed, 0 failed$/gm);
    const passed = Object.fromEntries(Array.from(passes, ([, name, checks]) => [name, Number(checks)]));
    assert.deepEqual(passed, { ...meaningful, ...empty });
    context.diagnostic(`pass: ${Object.keys(meaningful).join(", ")}`);
    context.diagnostic(`pass for nothing: ${Object.keys(empty).join(", ")}`);
}));
