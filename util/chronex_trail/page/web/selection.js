// What the reader has selected: everything on the page follows it.

class Selection {
  constructor() {
    this.listeners = [];
    this.reset();
  }

  reset() {
    this.op = null;
    // Times: from the first to behind the last; null = no bound.
    this.from = null;
    this.to = null;
    // Hours of week as a set, and what they are called.
    this.hours = null;
    this.hoursName = '';
    // Of users, programs, data sets: {numbers, label, test}.
    this.user = null;
    this.program = null;
    this.dataSet = null;
  }

  copy() {
    const copy = new Selection();
    for (const key of ['op', 'from', 'to', 'hours', 'hoursName', 'user',
      'program', 'dataSet']) {
      copy[key] = this[key];
    }
    return copy;
  }

  // A copy with other values.
  with(values) {
    return Object.assign(this.copy(), values);
  }

  change(values) {
    Object.assign(this, values);
    this.tell();
  }

  tell() {
    for (const listener of this.listeners) listener(this);
  }

  has(kind, number) {
    return this[kind] === null || this[kind].numbers.has(number);
  }

  inPeriod(time) {
    return (this.from === null || time >= this.from) &&
      (this.to === null || time < this.to);
  }

  inHours(hour) {
    return this.hours === null || this.hours.has(hour);
  }

  isEmpty() {
    return this.op === null && this.from === null && this.to === null &&
      this.hours === null && this.user === null && this.program === null &&
      this.dataSet === null;
  }
}
