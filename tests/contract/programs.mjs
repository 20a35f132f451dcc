// Programs that are started and ended.
import { spawn } from "node:child_process";
import { once } from "node:events";
import { createServer } from "node:net";
import { setTimeout as sleep } from "node:timers/promises";

/** A port that was free a moment ago, for a program that can't choose one by itself. */
export async function freePort() {
  const server = createServer();
  server.listen(0, "127.0.0.1");
  await once(server, "listening");
  const { port } = server.address();
  server.close();
  await once(server, "close");
  return port;
}

/** Runs a program to its end. */
export async function run(file, args, env = process.env) {
  const child = spawn(file, args, { env, stdio: ["ignore", "pipe", "pipe"] });
  const result = { stdout: "", stderr: "" };
  for (const name of ["stdout", "stderr"]) {
    child[name].setEncoding("utf8").on("data", (text) => (result[name] += text));
  }
  [result.status] = await once(child, "close");
  return result;
}

/** Starts a program, and waits until a line of its output says that it is ready. */
export async function start(file, args, ready) {
  // Its own group, since a program from npm may start further ones.
  const child = spawn(file, args, { stdio: ["pipe", "pipe", "pipe"], detached: true });
  const started = { output: "", pid: child.pid, stop: () => stop(child) };
  const reached = new Promise((resolve, reject) => {
    const take = (text) => {
      started.output += text;
      const match = ready.exec(started.output);
      if (match) {
        resolve(match);
      }
    };
    child.stdout.setEncoding("utf8").on("data", take);
    child.stderr.setEncoding("utf8").on("data", take);
    child.on("error", reject);
    child.on("exit", () => reject(new Error(`${file} ended:\n${started.output}`)));
  });
  const late = sleep(60_000, undefined, { ref: false }).then(() => {
    throw new Error(`${file} was not ready within a minute:\n${started.output}`);
  });
  try {
    started.match = await Promise.race([reached, late]);
  } catch (error) {
    await stop(child);
    throw error;
  }
  return started;
}

async function stop(child) {
  if (child.exitCode === null && child.signalCode === null && child.pid !== undefined) {
    const ended = once(child, "exit");
    process.kill(-child.pid, "SIGTERM");
    await ended;
  }
}

/** Starts the lab server of a folder. */
export async function startLab(folder) {
  const lab = await start(`${folder}/ktslabserver`, ["--port", "0", "--end-with-input"], /http:\/\/[^:]+:(\d+)/);
  return { ...lab, port: Number(lab.match[1]) };
}
