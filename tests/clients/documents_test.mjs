// README and the demo say what the server has: its tools, its options, the revisions of its protocol,
// answers that it gives, and a configuration that works as pasted.
import assert from "node:assert/strict";
import { execFileSync } from "node:child_process";
import { readFileSync } from "node:fs";
import { test } from "node:test";

import { run, server, tools, withStdio } from "./support.mjs";

const root = `${import.meta.dirname}/../..`;
const read = (file) => readFileSync(`${root}/${file}`, "utf8");
const readme = read("README.md");
const packages = JSON.parse(read("tests/clients/package.json")).dependencies;

// The rows of the table below that line of headings, as lists of cells.
const table = (headings) => readme.split(`| ${headings} |\n`)[1].split("\n\n")[0].split("\n").slice(1)
    .map((row) => row.split("|").slice(1, -1).map((cell) => cell.trim()));
const code = (cell) => Array.from(cell.matchAll(/`([^`]+)`/g), ([, text]) => text);

test("the table of tools is the catalogue, with answers that the reports' tests have", () => {
    const rows = table("tool | ask for instance | answer");
    assert.deepEqual(rows.map(([name]) => code(name)[0]), Object.keys(tools));
    const golden = ["reports", "recordings"].map((name) => read(`tests/tools/golden/${name}.json`)).join("");
    for (const [, , answer] of rows)
        for (const text of code(answer)) assert(golden.includes(JSON.stringify(text).slice(1, -1)), text);
});

test("the table of options is what the command line is read for", () => {
    const known = read("server/settings.cpp").matchAll(/== "(--[a-z-]+)"/g);
    assert.deepEqual(table("option | effect").map(([option]) => code(option)[0].split(" ")[0]).sort(),
        Array.from(known, ([, option]) => option).sort());
});

test("the bridge that is named is the one that is tried", () =>
    assert(read("docs/http.md").replace(/\s+/g, " ").includes(`mcp-proxy ${packages["mcp-proxy"]},`)));

test("README's links lead to what is there, and its downloads are of this version", () => {
    const [, version] = /^project\(tovra-mcp VERSION (\S+)/m.exec(read("CMakeLists.txt"));
    const headings = (page) => page.match(/^#+ .*$/gm).map((line) => line.replace(/^#+ /, "").toLowerCase().replace(/[^\w -]/g, "").replaceAll(" ", "-"));
    for (const [, address] of readme.matchAll(/\]\(([^)]+)\)/g)) {
        if (/^https:/.test(address)) continue;
        const [file, heading] = address.split("#");
        const page = read(file || "README.md");
        if (heading) assert(headings(page).includes(heading), address);
    }
    const downloads = Array.from(readme.matchAll(/releases\/download\/v([\d.]+)\/([\w.-]+)/g));
    assert.notEqual(downloads.length, 0);
    for (const [address, tag, name] of downloads)
        assert(tag === version && (name === "SHA256SUMS" || name.includes(version)), address);
});

test("the demo's configuration works as pasted", async () => {
    const output = execFileSync(`${root}/demo`, { encoding: "utf8", stdio: ["ignore", "pipe", "ignore"], timeout: 300_000 });
    const { command, env } = JSON.parse(output.slice(output.indexOf("\n{\n"))).mcpServers.tovra;
    await withStdio(command, [], env, async (client) => {
        const { content: [{ text }] } = await client.callTool({ name: "get_overview", arguments: {} });
        assert(output.includes(text.split("\n")[1]), text);
    });
    assert.doesNotMatch(output, /jsonrpc/);
    const { stdout } = await run(server.replace(/server\/tovra-mcp$/, "check/tovra-mcp-check"), "--json", env.TOVRA_DATA_FILE)
        .catch((error) => error);
    assert.deepEqual(JSON.parse(stdout).findings.map(({ about }) => about), ["no-account"]);
});
