// configurations.mjs BUILD BUNDLES ROOT FILE...: the host configurations name only options and variables
// that exist, and the program that they start, found below ROOT, answers; the manifests of the bundles
// that are unpacked in BUNDLES and server.json agree with the server and the bundles. KNOWN lists the
// options and variables.
import assert from "node:assert/strict";
import { execFileSync } from "node:child_process";
import { createHash } from "node:crypto";
import { existsSync, readdirSync, readFileSync } from "node:fs";
import { createRequire } from "node:module";

const Ajv = createRequire(`${import.meta.dirname}/../clients/package.json`)("ajv/dist/2020").default;
const [build, unpacked, root, ...files] = process.argv.slice(2);
const readJson = (path) => JSON.parse(readFileSync(path, "utf8"));

// Starts the program as a host does; gives its version and its tools.
function start(command, args = [], env = {}) {
    const options = args.filter((word) => word.startsWith("-"));
    for (const name of [...options, ...Object.keys(env)]) assert(process.env.KNOWN.split(/\s+/).includes(name), name);
    const input = ["initialize", "tools/list"].map((method) => `{"jsonrpc":"2.0","id":1,"method":"${method}"}\n`).join("");
    const [first, second] = execFileSync(command, args, { env, input, timeout: 30_000, encoding: "utf8" }).split("\n");
    const names = JSON.parse(second).result.tools.map(({ name }) => name);
    return { version: JSON.parse(first).result.serverInfo.version, names };
}

for (const { command, args, env, url } of files.map((file) => readJson(file).mcpServers.tovra))
    if (command) start(root + command, args, env);
    else assert.equal(url, "http://127.0.0.1:8765/");

const { packages: [announced], ...entry } = readJson(`${build}/server.json`);
const bundles = readdirSync(unpacked);
assert.deepEqual(bundles.sort(), ["tovra-mcp", "tovra-mcp-read-only"]);
for (const name of bundles) {
    const folder = `${unpacked}/${name}`;
    const manifest = readJson(`${folder}/manifest.json`);
    const { command, args, env } = manifest.server.mcp_config;
    const { version, names } = start(command, args.map((word) => word.replace("${__dirname}", folder)), env);
    assert(existsSync(`${folder}/${manifest.server.entry_point}`));
    assert.deepEqual([manifest.name, manifest.version, entry.version], [name, version, version]);
    assert.deepEqual(manifest.tools.map((tool) => tool.name), names);
    assert(existsSync(`${folder}/${manifest.icon}`));
    // A setting without a default would reach the server as its own placeholder.
    for (const value of Object.values(env))
        assert.equal(manifest.user_config[value.slice("${user_config.".length, -1)].default, "");
    assert.deepEqual(announced.environmentVariables.map((variable) => variable.name), Object.keys(env));
}
start(`${build}/server/tovra-mcp`, announced.packageArguments[0].choices);
const ajv = new Ajv({ strict: false });
assert(ajv.validate(readJson(`${import.meta.dirname}/server_schema.json`), { ...entry, packages: [announced] }), ajv.errorsText());
const bundle = readFileSync(build + announced.identifier.slice(announced.identifier.lastIndexOf("/")));
assert.equal(announced.fileSha256, createHash("sha256").update(bundle).digest("hex"));
