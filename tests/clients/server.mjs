// The server under test: data files for it, and its two ways of being reached.
// Its path comes in TOVRA_SERVER.
import assert from "node:assert/strict";
import { spawn } from "node:child_process";
import { mkdtempSync, rmSync, writeFileSync } from "node:fs";
import { tmpdir } from "node:os";
import { join } from "node:path";
import { after } from "node:test";

export const server = process.env.TOVRA_SERVER;
export const folder = mkdtempSync(join(tmpdir(), "tovra-clients-"));
after(() => rmSync(folder, { recursive: true }));

export const toolNames = [
    "get_overview", "list_transactions", "spending_by_category", "list_budgets", "list_goals",
    "add_transaction", "add_to_goal",
];

// A data file with one goal and nothing else; gives its path.
export function dataFile() {
    const path = join(mkdtempSync(join(folder, "data-")), "data.json");
    writeFileSync(path, JSON.stringify({ goals: [{ name: "Trip", currency: "EUR", target: 100 }] }));
    return path;
}

// Serves the file over HTTP on a port that the system picks for as long as visit(url) takes.
export async function withHttp(file, token, visit) {
    const options = token ? ["--token", token] : [];
    const child = spawn(server, ["--http", "0", ...options], {
        env: { TOVRA_DATA_FILE: file },
        stdio: ["ignore", "ignore", "pipe"],
        timeout: 60_000,
    });
    const exited = new Promise((resolve) => child.on("exit", resolve));
    try {
        let line = "";
        for await (const chunk of child.stderr) {
            line += chunk;
            if (line.includes("\n")) break;
        }
        const [, port] = /^Tovra MCP HTTP listening on 127\.0\.0\.1:(\d+) /.exec(line);
        await visit(new URL(`http://127.0.0.1:${port}/mcp`));
    } finally {
        child.kill("SIGTERM");
    }
    assert.equal(await exited, 0);
}
