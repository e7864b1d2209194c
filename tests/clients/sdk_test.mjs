// The official TypeScript SDK's clients, over both transports: the current major version as it
// comes and as it looks for a newer protocol first, and the major version before it.
import assert from "node:assert/strict";
import { test } from "node:test";

import { converse, dataFile, server, withHttp } from "./support.mjs";

// All that these modules export.
const load = async (...modules) =>
    Object.assign({}, ...await Promise.all(modules.map((name) => import(`@modelcontextprotocol/${name}`))));
const version2 = await load("client", "client/stdio");
const clients = {
    "version 1": { sdk: await load("sdk/client/index.js", "sdk/client/stdio.js", "sdk/client/streamableHttp.js") },
    "version 2": { sdk: version2 },
    "version 2, probing": { sdk: version2, options: { versionNegotiation: { mode: "auto" } } },
};

for (const [name, { sdk, options }] of Object.entries(clients)) {
    const newClient = () => new sdk.Client({ name: "test", version: "1" }, options);

    test(`${name} over standard input`, async (context) => {
        const file = dataFile();
        const transport = new sdk.StdioClientTransport({ command: server, env: { TOVRA_DATA_FILE: file } });
        context.after(() => transport.close());
        await converse(newClient(), transport, file);
    });

    for (const token of [undefined, "s3cret"]) {
        test(`${name} over HTTP, token: ${token}`, () => withHttp(token, async (url, file) => {
            const open = (bearer) => new sdk.StreamableHTTPClientTransport(url,
                { requestInit: { headers: bearer && { Authorization: `Bearer ${bearer}` } } });
            await converse(newClient(), open(token), file);
            if (token) await assert.rejects(newClient().connect(open("wrong")), /401|unauthorized/i);
        }));
    }
}
