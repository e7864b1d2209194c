// configurations.mjs hosts ROOT FILE...: host configurations name only options and variables that
// exist, and the program that they start, found below ROOT, answers.
// configurations.mjs bundle BUILD: so do the bundle's manifest and server.json, and they agree with
// the bundle and the server.
import assert from "node:assert/strict";
import { spawnSync } from "node:child_process";
import { createHash } from "node:crypto";
import { readFileSync, readdirSync } from "node:fs";
import { basename, join } from "node:path";

const names = (variable) => (process.env[variable] ?? "").split(/\s+/).filter(Boolean);
const options = names("OPTIONS");
const variables = names("VARIABLES");

const readJson = (path) => JSON.parse(readFileSync(path, "utf8"));

function assertKnown(found, known, where) {
    for (const name of found) assert(known.includes(name), `${where} names ${name}`);
}

// What the program says of itself when it is started as a host starts it.
function serverInfo(command, args = [], env = {}) {
    const run = spawnSync(command, args, {
        env: { ...process.env, ...env },
        input: '{"jsonrpc":"2.0","id":1,"method":"initialize","params":{}}\n',
        encoding: "utf8",
        timeout: 30000,
    });
    assert.equal(run.status, 0, `${command}: ${run.error ?? run.stderr}`);
    return JSON.parse(run.stdout).result.serverInfo;
}

function checkHost(root, path) {
    for (const server of Object.values(readJson(path).mcpServers)) {
        if (server.url) {
            assert.match(server.url, /^http:\/\/127\.0\.0\.1:8765\//, path);
            assert.match(server.headers.Authorization, /^Bearer \S+$/, path);
            continue;
        }
        assertKnown(server.args ?? [], options, path);
        assertKnown(Object.keys(server.env ?? {}), variables, path);
        assert.match(server.command, /^\//, path);
        assert.equal(serverInfo(root + server.command, server.args, server.env).name, "tovra", path);
    }
}

function checkBundle(build) {
    const { version } = serverInfo(join(build, "server/tovra-mcp"));

    const manifest = readJson(join(build, "packaging/bundle/manifest.json"));
    const { env, args } = manifest.server.mcp_config;
    assert.equal(manifest.version, version);
    assertKnown(args, options, "manifest");
    assertKnown(Object.keys(env), variables, "manifest");
    assert.deepEqual(manifest.tools.map((tool) => tool.name).sort(), names("TOOLS").sort());
    // A setting without a default would reach the server as its own placeholder.
    for (const [variable, value] of Object.entries(env)) {
        const key = /^\$\{user_config\.(\w+)\}$/.exec(value)[1];
        assert.equal(manifest.user_config[key].default, "", variable);
        assert.equal(manifest.user_config[key].sensitive ?? false, /TOKEN/.test(variable), variable);
    }

    const server = readJson(join(build, "server.json"));
    const [announced] = server.packages;
    assert.equal(server.version, version);
    assert(server.description.length <= 100, "server.json: the description is too long");
    assertKnown(announced.packageArguments.flatMap((item) => item.choices), options, "server.json");
    for (const { name, isSecret } of announced.environmentVariables) {
        assertKnown([name], variables, "server.json");
        assert.equal(isSecret ?? false, /TOKEN/.test(name), name);
    }
    const bundle = readdirSync(build).find((file) => file === basename(announced.identifier));
    assert(bundle, `no ${announced.identifier}`);
    const digest = createHash("sha256").update(readFileSync(join(build, bundle))).digest("hex");
    assert.equal(announced.fileSha256, digest);
}

const [what, folder, ...files] = process.argv.slice(2);
if (what === "bundle") checkBundle(folder);
else for (const file of files) checkHost(folder, file);
