// Each channel with the last status that its host reported.
import { get } from "./api.js";
import { byId } from "./dom.js";
import { Table } from "./table.js";

const FIRST = ["deviceId", "chl", "time"]; // columns; the others follow as they come
const table = new Table(byId("channel-table"), "channelsWithStatus");

export async function loadChannels() {
  const { channels } = await get("/lab/channels");
  const names = [...new Set([...FIRST, ...channels.flatMap(Object.keys)])];
  const items = channels.map((channel) => ({
    key: JSON.stringify([channel.deviceId, channel.chl]),
    cells: names.map((name) => channel[name]),
  }));
  table.show(names.map((name) => ({ name })), items);
}
