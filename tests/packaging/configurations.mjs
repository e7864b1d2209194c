// configurations.mjs hosts ROOT FILE...: host configurations name only options and variables that
// exist, and the program that they start, found below ROOT, answers.
// configurations.mjs bundle BUILD: the bundle's manifest and server.json agree with the server and
// the bundle.
import assert from "node:assert/strict";
import { execFileSync } from "node:child_process";
import { createHash } from "node:crypto";
import { readFileSync } from "node:fs";
import { basename } from "node:path";

const names = (variable) => process.env[variable].split(/\s+/);
const readJson = (path) => JSON.parse(readFileSync(path, "utf8"));
const input = '{"jsonrpc":"2.0","id":1,"method":"initialize","params":{}}\n';

// Starts the program as a host does; gives its version.
function check(command, args = [], env = {}) {
    for (const name of [...args, ...Object.keys(env)]) assert(names("KNOWN").includes(name), name);
    const started = { env: { ...process.env, ...env }, input, timeout: 30000 };
    return JSON.parse(execFileSync(command, args, started)).result.serverInfo.version;
}

const [what, folder, ...files] = process.argv.slice(2);
for (const file of files)
    for (const { command, args, env, url } of Object.values(readJson(file).mcpServers))
        url ? assert.equal(url, "http://127.0.0.1:8765/") : check(folder + command, args, env);
if (what === "bundle") {
    const manifest = readJson(`${folder}/packaging/bundle/manifest.json`);
    const { packages: [announced], ...entry } = readJson(`${folder}/server.json`);
    const { env } = manifest.server.mcp_config;
    // A setting without a default would reach the server as its own placeholder.
    for (const value of Object.values(env))
        assert.equal(manifest.user_config[value.slice("${user_config.".length, -1)].default, "");
    const real = check(`${folder}/server/tovra-mcp`, announced.packageArguments[0].choices, env);
    assert.deepEqual([manifest.version, entry.version], [real, real]);
    assert(entry.description.length <= 100);
    assert.deepEqual(manifest.tools.map((tool) => tool.name).sort(), names("TOOLS").sort());
    assert.deepEqual(announced.environmentVariables.map(({ name }) => name), Object.keys(env));
    const bundle = readFileSync(`${folder}/${basename(announced.identifier)}`);
    assert.equal(announced.fileSha256, createHash("sha256").update(bundle).digest("hex"));
}
