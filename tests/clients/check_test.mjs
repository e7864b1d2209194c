// The check as a server of its own: the official SDKs' clients call its one tool, and a host's own program
// connects to it.
import assert from "node:assert/strict";
import { globSync, mkdtempSync, rmSync, writeFileSync } from "node:fs";
import { tmpdir } from "node:os";
import { test } from "node:test";

import { dataFile, run } from "./support.mjs";
import hosts from "./golden/hosts.json" with { type: "json" };

const check = process.env.TOVRA_CHECK;

for (const [version, modules] of Object.entries({
    1: ["sdk/client/index.js", "sdk/client/stdio.js"],
    2: ["client", "client/stdio"],
})) {
    test(`version ${version} of the SDK`, async (context) => {
        const sdk = Object.assign({}, ...await Promise.all(modules.map((name) => import(`@modelcontextprotocol/${name}`))));
        const file = dataFile();
        const client = new sdk.Client({ name: "test", version: "1" });
        context.after(() => client.close());
        await client.connect(new sdk.StdioClientTransport({ command: check, args: ["--mcp"], env: { TOVRA_DATA_FILE: file } }));
        assert.equal(client.getServerVersion().name, "tovra-check");
        assert.deepEqual((await client.listTools()).tools.map(({ name }) => name), ["check_data_file"]);
        const ask = async () => (await client.callTool({ name: "check_data_file" })).content[0].text;
        assert.match(await ask(), /^goals {10}1$[^]*The server works on this file\.\n$/m);
        rmSync(file);
        assert.match(await ask(), /^error: There is no file of that name in its folder\./m);
    });
}

test("a host's own program", async (context) => {
    const { pattern, file, good } = hosts["claude-code/mcp"];
    const [program] = globSync(pattern.replace("ARCH", process.arch), { cwd: `${import.meta.dirname}/node_modules` });
    const home = mkdtempSync(`${tmpdir()}/tovra-host-`);
    context.after(() => rmSync(home, { recursive: true, force: true }));
    writeFileSync(`${home}/${file}`, JSON.stringify({ mcpServers: { tovra: { command: check, args: ["--mcp"] } } }));
    const env = { HOME: home, CLAUDE_CODE_DISABLE_NONESSENTIAL_TRAFFIC: "1", DISABLE_AUTOUPDATER: "1", NO_COLOR: "1" };
    let said = "";
    for (let tries = 0; tries < 3 && !new RegExp(good, "m").test(said); ++tries) {
        const { stdout } = await run(`${import.meta.dirname}/node_modules/${program}`, { env, cwd: home }, "mcp", "list");
        said = stdout;
    }
    assert.match(said, new RegExp(good, "m"));
});
