// What was checked, and what is wrong.
export class Report {
  faults = [];

  fault(where, what) {
    this.faults.push(`${where}: ${what}`);
    console.error(`contract: FAILED: ${where}: ${what}`);
  }

  faultsOf(where, list) {
    list.forEach((what) => this.fault(where, what));
  }

  say(text) {
    console.log(`contract: ${text}`);
  }
}
