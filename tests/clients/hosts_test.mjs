// The configurations of hosts in examples/hosts: each is what docs/hosts.md shows, names only what
// there is, lets the reports run and has the recordings asked for, and starts or reaches the server.
// The hosts whose own program is installed here read theirs, and connect.
import assert from "node:assert/strict";
import { globSync, mkdirSync, mkdtempSync, readFileSync, readdirSync, rmSync, writeFileSync } from "node:fs";
import { tmpdir } from "node:os";
import { dirname } from "node:path";
import { after, test } from "node:test";

import { dataFile, run, server, tools, withHttp, withStdio } from "./support.mjs";

const root = `${import.meta.dirname}/../..`;
const folder = `${root}/examples/hosts`;
const files = readdirSync(folder, { recursive: true }).filter((name) => /\.(json|toml)$/.test(name));
const text = (file) => readFileSync(`${folder}/${file}`, "utf8");
const json = (file) => JSON.parse(text(file));
const names = Object.keys(tools);
const recordings = ["add_transaction", "add_to_goal"];
const reports = names.filter((name) => !recordings.includes(name));

test("docs/hosts.md shows every snippet as it is", () => {
    const page = readFileSync(`${root}/docs/hosts.md`, "utf8");
    for (const file of files) {
        assert(page.includes(`\`examples/hosts/${file}\``), file);
        assert(page.includes(`\`\`\`${file.split(".").at(-1)}\n${text(file)}\`\`\`\n`), file);
    }
});

// What runs without asking and what asks, as each file says it.
const by = (object, value) => Object.keys(object).filter((key) => (object[key].default ?? object[key]) === value);
const approvals = {
    "claude-code/settings.json": ({ permissions }) => [permissions.allow, permissions.ask],
    "cline/": ({ mcpServers }) => [mcpServers.tovra.autoApprove, recordings],
    "codex/": (_, toml) => [[...toml.matchAll(/\.tools\.(\w+)\]\napproval_mode = "approve"/g)].map(([, name]) => name),
        /^default_tools_approval_mode = "prompt"$/m.test(toml) ? recordings : []],
    "cursor/permissions.json": ({ mcpAllowlist }) => [mcpAllowlist, recordings],
    "gemini-cli/": ({ mcpServers: { tovra, "tovra-record": record } }) => {
        assert(tovra.trust && !record.trust);
        assert(tovra.includeTools ?? tovra.args.includes("--read-only"));
        return [tovra.includeTools ?? reports, record.includeTools];
    },
    "opencode/": ({ permission }) => [by(permission, "allow"), by(permission, "ask")],
    "zed/": ({ agent }) => [by(agent.tool_permissions.tools, "allow"), by(agent.tool_permissions.tools, "confirm")],
};

test("the reports run, the recordings ask", () => {
    for (const [start, read] of Object.entries(approvals)) {
        const found = files.filter((file) => file.startsWith(start));
        assert.notEqual(found.length, 0, start);
        for (const file of found) {
            const lists = read(file.endsWith(".json") ? json(file) : {}, text(file));
            const bare = lists.map((list) => list.map((name) => name.replace(/^(mcp)?[_:]*tovra[_:]+/, "")));
            assert.deepEqual(bare, [reports, recordings], file);
        }
    }
});

// Every object in it that says how a server is started or reached.
const entries = (value) => typeof value !== "object" ? []
    : value.command || value.url || value.httpUrl ? [value] : Object.values(value).flatMap(entries);

test("every entry starts or reaches the server", async () => {
    for (const file of files.filter((name) => name.endsWith(".json"))) {
        for (const { command, args = [], env = {}, url, httpUrl, headers } of entries(json(file))) {
            if (!command) {
                assert.equal(url ?? httpUrl, "http://127.0.0.1:8765/", file);
                assert.match(headers.Authorization, /^Bearer /, file);
            } else if (command === "npx") {
                const [yes, bridge, address, ...rest] = args;
                const { version } = JSON.parse(readFileSync(`${import.meta.dirname}/node_modules/mcp-remote/package.json`));
                assert.deepEqual([yes, bridge, address], ["-y", `mcp-remote@${version}`, "http://127.0.0.1:8765/"]);
                await withHttp("choose-a-long-random-token", ({ href }) =>
                    withStdio("mcp-remote", [href, ...rest], env, async (client) =>
                        assert.deepEqual((await client.listTools()).tools.map(({ name }) => name), names)));
            } else {
                assert.equal([command].flat().join(), "/usr/local/bin/tovra-mcp", file);
                await withStdio(server, args, {}, async (client) => assert.deepEqual(
                    (await client.listTools()).tools.map(({ name }) => name), args.length ? reports : names, file));
            }
        }
    }
});

// Hosts with a program of their own: where it is, where its file goes below the home directory, how it lists
// servers ("mcp list" unless something else is said), and what it prints for one that it is connected to, or
// knows, and for one that wants a token.
import hosts from "./golden/hosts.json" with { type: "json" };

for (const [name, { pattern, file, list = ["mcp", "list"], good, refused }] of Object.entries(hosts)) {
    const [program] = globSync(pattern.replace("ARCH", process.arch), { cwd: `${import.meta.dirname}/node_modules` });
    const isMissing = !program && process.arch !== "x64"; // not every host is made for every processor
    test(`${name} by the host itself`, { skip: isMissing }, async (context) => {
        const type = file.endsWith(".toml") ? "toml" : "json";
        // What the host prints about a configuration.
        const read = async (content, environment = {}) => {
            const home = mkdtempSync(`${tmpdir()}/tovra-host-`);
            context.after(() => rmSync(home, { recursive: true, force: true }));
            mkdirSync(dirname(`${home}/${file}`), { recursive: true });
            writeFileSync(`${home}/${file}`, content);
            const env = { HOME: home, TOVRA_DATA_FILE: dataFile(), GEMINI_CLI_TRUST_WORKSPACE: "true",
                CLAUDE_CODE_DISABLE_NONESSENTIAL_TRAFFIC: "1", DISABLE_AUTOUPDATER: "1", NO_COLOR: "1", ...environment };
            const { stdout, stderr } = await run(`${import.meta.dirname}/node_modules/${program}`, { env, cwd: home }, ...list);
            return stdout + stderr;
        };
        // Hosts give up early where the machine is busy: what they say is asked for up to three times.
        const says = async (wanted, ...configuration) => {
            let said = await read(...configuration);
            for (let tries = 1; tries < 3 && !new RegExp(wanted, "m").test(said); ++tries) said = await read(...configuration);
            assert.match(said, new RegExp(wanted, "m"));
        };
        const stdio = text(`${name}.${type}`).replaceAll("/usr/local/bin/tovra-mcp", server);
        await says(good, stdio);
        if (type === "toml") // to be sure that it reads the approvals
            await assert.rejects(read(stdio.replaceAll('"approve"', '"always"')), { stderr: /unknown variant/ });
        await withHttp("s3cret", async ({ href }) => {
            const http = text(`${name}.http.${type}`).replaceAll("http://127.0.0.1:8765/", href);
            await says(good, http, { TOVRA_MCP_TOKEN: "s3cret" });
            const withoutToken = () => JSON.stringify(JSON.parse(http), (key, value) => key === "headers" ? undefined : value);
            if (refused) await says(refused, withoutToken());
        });
    });
}

test("the links open the hosts with the entry that they are for", () => {
    const page = readFileSync(`${root}/docs/hosts.md`, "utf8");
    const entry = json("cursor/mcp.json").mcpServers.tovra;
    const links = Array.from(page.matchAll(/\[([^\]]+)\]\((https:[^)]+)\)/g), ([, host, address]) => [host, new URL(address)]);
    const decoded = Object.fromEntries(links.map(([host, { hostname, searchParams }]) => {
        const inner = searchParams.get("url")?.replace(/^vscode:mcp\/install\?/, "");
        return [`${host} ${hostname}`, inner ? JSON.parse(decodeURIComponent(inner))
            : { name: searchParams.get("name"), ...JSON.parse(atob(searchParams.get("config"))) }];
    }));
    const wanted = { name: "tovra", ...entry };
    assert.deepEqual(decoded, { "VS Code vscode.dev": wanted, "Cursor cursor.com": wanted, "LM Studio lmstudio.ai": wanted });
    assert(readFileSync(`${root}/README.md`, "utf8").includes(page.split("\n").find((line) => line.startsWith("[VS Code](https:"))));
});
