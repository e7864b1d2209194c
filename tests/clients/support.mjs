// The server under test, whose path comes in TOVRA_SERVER, and what the tests do with it.
import assert from "node:assert/strict";
import { execFile, spawn } from "node:child_process";
import { once } from "node:events";
import { mkdtempSync, rmSync, writeFileSync } from "node:fs";
import { tmpdir } from "node:os";
import { after } from "node:test";
import { promisify } from "node:util";

export const server = process.env.TOVRA_SERVER;
const folder = mkdtempSync(`${tmpdir()}/tovra-clients-`);
after(() => rmSync(folder, { recursive: true }));

// The tools in the order of their list, with the text that each answers on such a data file as below.
export { default as tools } from "./golden/tools.json" with { type: "json" };

// A data file with one goal and nothing else; gives its path.
export function dataFile() {
    const path = `${mkdtempSync(`${folder}/data-`)}/data.json`;
    writeFileSync(path, JSON.stringify({ goals: [{ name: "Trip", currency: "EUR", target: 100 }] }));
    return path;
}

// Serves a new data file over HTTP, on a port that the system picks, for as long as visit(url, file) takes.
export async function withHttp(token, visit) {
    const file = dataFile();
    const env = { TOVRA_DATA_FILE: file, TOVRA_MCP_TOKEN: token };
    const child = spawn(server, ["--http", "0"], { env, stdio: ["ignore", "ignore", "pipe"], timeout: 60_000 });
    const exited = once(child, "exit");
    try {
        const [line] = await Promise.race([once(child.stderr, "data"), exited]);
        const [, port] = /^Tovra MCP HTTP listening on 127\.0\.0\.1:(\d+) /.exec(line);
        await visit(new URL(`http://127.0.0.1:${port}/mcp`), file);
    } finally {
        child.kill("SIGTERM");
    }
    assert.deepEqual(await exited, [0, null]);
}

// Runs a command of an installed package, which npm has put in PATH; gives what it printed in stdout
// and stderr. Rejects with the same where the command fails or takes longer than 30 s.
export const run = (command, ...args) => promisify(execFile)(command, args,
    { cwd: folder, env: { HOME: folder, PATH: process.env.PATH }, timeout: 30_000 });
