// What was checked, and what is wrong.
export class Report {
  faults = [];

  /** @param isQuiet  whether nothing is printed */
  constructor(isQuiet = false) {
    this.isQuiet = isQuiet;
  }

  fault(where, what) {
    this.faults.push(`${where}: ${what}`);
    if (!this.isQuiet) {
      console.error(`contract: FAILED: ${where}: ${what}`);
    }
  }

  faultsOf(where, list) {
    list.forEach((what) => this.fault(where, what));
  }

  say(text) {
    if (!this.isQuiet) {
      console.log(`contract: ${text}`);
    }
  }
}
