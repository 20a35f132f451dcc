/**
 * A function that runs another one soon, but neither twice at a time nor sooner than so many milliseconds after its
 * last end. Calls in between become one.
 */
export function gently(action, pause) {
  let running = false;
  let again = false;
  return async function run() {
    again = true;
    if (running) {
      return;
    }
    running = true;
    try {
      while (again) {
        again = false;
        await action();
        await new Promise((done) => setTimeout(done, pause));
      }
    } finally {
      running = false;
    }
  };
}
