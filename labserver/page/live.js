// The server's events, and whether they still come.
const KINDS = ["exchange", "second", "change"];
const MOST_SILENCE = 6000; // ms; the server tells something every second

/**
 * Follows the events for as long as the page is open. A lost connection is opened again, by the browser or, when that
 * has stopped trying or hears nothing, from here.
 * @param {object} take a function for each kind of event; "opened" at each new connection, "lost" when it is lost
 */
export function follow(take) {
  let source;
  let heard;
  let isOpen = false;

  function lose() {
    isOpen = false;
    take.lost();
  }

  function open() {
    heard = performance.now();
    source?.close();
    source = new EventSource("/lab/events");
    source.addEventListener("open", () => {
      heard = performance.now();
      isOpen = true;
      take.opened();
    });
    source.addEventListener("error", lose);
    for (const kind of KINDS) {
      source.addEventListener(kind, ({ data }) => {
        heard = performance.now();
        take[kind](JSON.parse(data));
      });
    }
  }

  open();
  setInterval(() => {
    if (performance.now() - heard > MOST_SILENCE) {
      if (isOpen) {
        lose();
      }
      open();
    }
  }, 1000);
}
