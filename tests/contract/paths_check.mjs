// Whether the document describes each request of the library, under its path.
const segments = (path) => path.replace(/^\//, "").replace(/\/\{\w+\}$/, "");

export async function checkPaths(report, contract, agent) {
  const endpoints = await agent.endpoints();
  for (const { id, path } of endpoints) {
    const found = contract.operations.filter((operation) => operation["x-request-type"] === id);
    if (found.length !== 1) {
      report.fault(`request ${id}`, `${found.length} operations have this x-request-type`);
    } else if (segments(found[0].path) !== path) {
      report.fault(found[0].operationId, `has the path ${found[0].path}, and the library's is ${path}`);
    }
  }
  const described = contract.operations.length;
  if (described !== endpoints.length) {
    report.fault("the document", `has ${described} operations, and the library ${endpoints.length} requests`);
  }
  report.say(`the paths of ${endpoints.length} requests compared`);
}
