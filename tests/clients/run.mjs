// Runs the commands that the installed packages bring, with the Node.js that runs the tests.
import { execFile } from "node:child_process";
import { delimiter, dirname, join } from "node:path";
import { fileURLToPath } from "node:url";

import { folder } from "./server.mjs";

const commands = join(dirname(fileURLToPath(import.meta.url)), "node_modules", ".bin");

// Gives { status, output, errors }; a command that takes longer than 30 s ends with status null.
export function run(command, ...args) {
    const options = {
        cwd: folder,
        env: { HOME: folder, PATH: [dirname(process.execPath), process.env.PATH].join(delimiter) },
        timeout: 30_000,
    };
    return new Promise((resolve) => {
        execFile(join(commands, command), args, options, (error, output, errors) => {
            resolve({ status: error ? error.code : 0, output, errors });
        });
    });
}
