// The line that tells what the operator's last action did. Assistive technology reads it aloud.
import { byId } from "./dom.js";
import { say } from "./language.js";

export function tell(...said) {
  const line = byId("message");
  line.classList.remove("bad");
  say(line, ...said);
}

export function complain(error) {
  const line = byId("message");
  say(line, "failed", error.message);
  line.classList.add("bad");
}

/** Does what the operator asked for, and tells how it ended. */
export async function attempt(action, ...said) {
  try {
    await action();
    tell(...said);
  } catch (error) {
    complain(error);
  }
}
