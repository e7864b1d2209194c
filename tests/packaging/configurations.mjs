// configurations.mjs BUILD ROOT FILE...: the host configurations name only options and variables
// that exist, and the program that they start, found below ROOT, answers; the bundle's manifest and
// server.json agree with the server and the bundle. KNOWN lists the options and variables, TOOLS the
// tools of the server.
import assert from "node:assert/strict";
import { execFileSync } from "node:child_process";
import { createHash } from "node:crypto";
import { readFileSync } from "node:fs";

const [build, root, ...files] = process.argv.slice(2);
const names = (variable) => process.env[variable].split(/\s+/);
const readJson = (path) => JSON.parse(readFileSync(path, "utf8"));

// Starts the program as a host does; gives its version.
function start(command, args = [], env = {}) {
    for (const name of [...args, ...Object.keys(env)]) assert(names("KNOWN").includes(name), name);
    const input = '{"jsonrpc":"2.0","id":1,"method":"initialize","params":{}}\n';
    return JSON.parse(execFileSync(command, args, { env, input, timeout: 30_000 })).result.serverInfo.version;
}

for (const { command, args, env, url } of files.map((file) => readJson(file).mcpServers.tovra))
    if (command) start(root + command, args, env);
    else assert.equal(url, "http://127.0.0.1:8765/");

const manifest = readJson(`${build}/packaging/bundle/manifest.json`);
const { packages: [announced], ...entry } = readJson(`${build}/server.json`);
const { env } = manifest.server.mcp_config;
// A setting without a default would reach the server as its own placeholder.
for (const value of Object.values(env))
    assert.equal(manifest.user_config[value.slice("${user_config.".length, -1)].default, "");
const version = start(`${build}/server/tovra-mcp`, announced.packageArguments[0].choices, env);
assert.deepEqual([manifest.version, entry.version], [version, version]);
assert(entry.description.length <= 100);
assert.deepEqual(manifest.tools.map(({ name }) => name).sort(), names("TOOLS").sort());
assert.deepEqual(announced.environmentVariables.map(({ name }) => name), Object.keys(env));
const bundle = readFileSync(build + announced.identifier.slice(announced.identifier.lastIndexOf("/")));
assert.equal(announced.fileSha256, createHash("sha256").update(bundle).digest("hex"));
