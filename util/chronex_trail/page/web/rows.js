// The listed changes. Their columns are there from the start; their values are
// unpacked when they are wanted.

const COLUMN_TYPES = {time: Uint32Array, recno: Uint32Array,
  layout: Uint32Array, session: Uint32Array, input: Uint32Array,
  place: Uint32Array};

class Rows {
  constructor(summary, columns, sessions, zone) {
    this.count = summary.rows;
    this.layouts = summary.layouts;
    this.sessions = sessions.map(readSession);
    this.op = columns.map((part) => part.op).join('');
    for (const [name, Type] of Object.entries(COLUMN_TYPES)) {
      this[name] = new Type(this.count);
      let at = 0;
      for (const part of columns) {
        this[name].set(part[name], at);
        at += part[name].length;
      }
    }
    this.hour = new Uint8Array(this.count);
    for (let row = 0; row < this.count; ++row) {
      this.hour[row] = zone.hourOfWeek(this.time[row]);
    }
    this.parts = blocksOf('values').map((block) => new ValuePart(block));
    this.findParts();
  }

  findParts() {
    let begin = 0;
    for (const part of this.parts) {
      part.begin = begin;
      begin += Number(part.block.dataset.rows);
    }
  }

  partOf(row) {
    let low = 0;
    let high = this.parts.length - 1;
    while (low < high) {
      const middle = Math.ceil((low + high) / 2);
      if (this.parts[middle].begin <= row) low = middle;
      else high = middle - 1;
    }
    return this.parts[low];
  }

  dataSet(row) {
    return this.layouts[this.layout[row]].data_set;
  }

  user(row) {
    return this.sessions[this.session[row]].user;
  }

  program(row) {
    return this.sessions[this.session[row]].program;
  }

  // The rows of a selection, by number.
  selected(selection) {
    const numbers = new Uint32Array(this.count);
    let count = 0;
    for (let row = 0; row < this.count; ++row) {
      if (this.isSelected(selection, row)) numbers[count++] = row;
    }
    return numbers.subarray(0, count);
  }

  isSelected(selection, row) {
    return selection.inPeriod(this.time[row]) &&
      (selection.op === null || this.op[row] === selection.op) &&
      selection.inHours(this.hour[row]) &&
      selection.has('user', this.user(row)) &&
      selection.has('program', this.program(row)) &&
      selection.has('dataSet', this.dataSet(row));
  }

  // The values of a row: null as long as they are packed.
  values(row) {
    const part = this.partOf(row);
    return part.lines === null ? null : readValues(this, row, part);
  }

  async loadedValues(row) {
    const part = this.partOf(row);
    await part.load();
    return readValues(this, row, part);
  }

  // Unpacks all values, a part whenever there is nothing else to do.
  unpackIdly(part = 0) {
    if (part === this.parts.length) return;
    const idle = window.requestIdleCallback ?? ((work) => setTimeout(work, 50));
    idle(() => this.parts[part].load().then(() => this.unpackIdly(part + 1)));
  }

  where(test) {
    const found = [];
    for (let row = 0; row < this.count; ++row) if (test(row)) found.push(row);
    return found;
  }
}

class ValuePart {
  constructor(block) {
    this.block = block;
    this.begin = 0;
    this.lines = null;
    this.loading = null;
  }

  load() {
    this.loading ??= unpackText(this.block).then((text) => {
      this.lines = text.split('\n');
    });
    return this.loading;
  }
}

function readSession([id, conntime, user, program, first, last, puts, updates,
  deletes, signedOff, attributes, memos, memoCount]) {
  return {id, conntime, user, program, first, last, puts, updates, deletes,
    signedOff, attributes, memos, memoCount};
}

// Before and after of each item, and whether they differ.
function readValues(rows, row, part) {
  const [after, places, old, memo] = JSON.parse(part.lines[row - part.begin]);
  const layout = rows.layouts[rows.layout[row]];
  const differs = new Map(places === 0 ? []
    : places.map((place, i) => [place, old[i]]));
  const items = layout.items.map((name, i) => ({
    name,
    type: layout.types[i],
    before: places === 0 ? (old === 0 ? undefined : old[i])
      : differs.has(i) ? differs.get(i) : after[i],
    after: after === 0 ? undefined : after[i],
    differs: differs.has(i),
  }));
  return {items, memo: memo === 0 ? null : memo, hasBefore: old !== 0,
    hasAfter: after !== 0};
}

const REASONS = {
  encrypted: 'encrypted, no key',
  bad_digits: 'no number',
  nan: 'not a number',
  infinite: 'infinite',
};

// A value as text; what is not there, or not whole, in words.
function valueText(value) {
  if (value === undefined) return '';
  if (Array.isArray(value)) return value.map(valueText).join(', ');
  if (Object.is(value, -0)) return '-0.0';
  if (typeof value !== 'object' || value === null) return visible(value);
  if (value.more !== undefined) return `… ${value.more} more`;
  if (value.cut !== undefined) {
    return `${visible(value.cut)} … (${formatted(value.size)} bytes)`;
  }
  const raw = value.raw ? ` (${value.raw})` : '';
  return `[${REASONS[value.why] ?? value.why}${raw}]`;
}
