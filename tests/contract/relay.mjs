// A relay between the library and a server, which keeps every exchange as it was on the wire.
import { createServer, request } from "node:http";
import { once } from "node:events";

async function bytesOf(stream) {
  const pieces = [];
  for await (const piece of stream) {
    pieces.push(piece);
  }
  return Buffer.concat(pieces);
}

/**
 * @param port     of the server, on this machine
 * @param rewrite  gets the headers of each request, and returns those that the server is to get
 */
export async function startRelay(port, rewrite = (headers) => headers) {
  const exchanges = [];
  const server = createServer(async (asked, answered) => {
    const body = await bytesOf(asked);
    const exchange = { method: asked.method, target: asked.url, headers: asked.headers, body: body.toString() };
    exchanges.push(exchange);
    const passed = request({
      host: "127.0.0.1",
      port,
      method: asked.method,
      path: asked.url,
      headers: rewrite({ ...asked.headers }),
    });
    passed.on("error", (error) => answered.destroy(error));
    passed.on("response", async (reply) => {
      const replyBody = await bytesOf(reply);
      exchange.status = reply.statusCode;
      exchange.replyHeaders = reply.headers;
      exchange.replyBody = replyBody.toString();
      answered.writeHead(reply.statusCode, { ...reply.headers, connection: "close" });
      answered.end(replyBody);
    });
    passed.end(body);
  });
  server.listen(0, "127.0.0.1");
  await once(server, "listening");
  return {
    port: server.address().port,
    /** The exchanges since the last call. */
    take: () => exchanges.splice(0),
    stop: () => server.close(),
  };
}
