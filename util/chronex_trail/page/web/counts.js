// The counts of all changes by time and by what they have in common, and their
// sums for a selection. They are complete, whatever the list leaves out.

const OPS = ['c', 'u', 'd'];
const OP_NAMES = {c: 'created', u: 'updated', d: 'deleted'};
const OP_WORDS = {c: 'DBPUT', u: 'DBUPDATE', d: 'DBDELETE'};
const OTHERS = -1;

// What a selection may demand, a bit each.
const IN = {user: 1, program: 2, dataSet: 4, op: 8, period: 16, hours: 32};
const IN_ALL = 63;

class Counts {
  constructor(summary, zone) {
    this.step = summary.cube.step;
    this.hasHours = this.step === 'hour';
    this.names = {user: summary.users, program: summary.programs,
      dataSet: summary.data_sets};
    this.readMixes(summary.cube.mixes);
    this.readSteps(summary.cube.steps);
    this.hourTable = summary.cube.hours;
    this.hourOfStep = this.begins.map((begin) => zone.hourOfWeek(begin));
  }

  readMixes(mixes) {
    this.mixOp = mixes.map(([op]) => OPS.indexOf(op));
    this.mixOf = {user: mixes.map((mix) => mix[1]),
      program: mixes.map((mix) => mix[2]),
      dataSet: mixes.map((mix) => mix[3])};
  }

  readSteps(steps) {
    this.begins = steps.map(([begin]) => begin);
    const cells = steps.reduce((sum, step) => sum + (step.length - 1) / 2, 0);
    this.cellStep = new Uint32Array(cells);
    this.cellMix = new Uint32Array(cells);
    this.cellCount = new Float64Array(cells);
    let cell = 0;
    steps.forEach((step, number) => {
      for (let i = 1; i < step.length; i += 2) {
        this.cellStep[cell] = number;
        this.cellMix[cell] = step[i];
        this.cellCount[cell++] = step[i + 1];
      }
    });
  }

  // For each mix what it meets of a selection.
  mixBits(selection) {
    return this.mixOp.map((op, mix) => {
      let bits = selection.op === null || selection.op === OPS[op] ? IN.op : 0;
      for (const kind of ['user', 'program', 'dataSet']) {
        if (selection.has(kind, this.mixOf[kind][mix])) bits |= IN[kind];
      }
      return bits;
    });
  }

  stepBits(selection) {
    return this.begins.map((begin, step) =>
      (selection.inPeriod(begin) ? IN.period : 0) |
      (selection.inHours(this.hourOfStep[step]) ? IN.hours : 0));
  }

  // Sums for a selection; those of a kind pass over what is selected of it.
  sums(selection) {
    const mixBits = this.mixBits(selection);
    const stepBits = this.stepBits(selection);
    const sums = {
      total: [0, 0, 0], ops: [0, 0, 0],
      steps: [0, 1, 2].map(() => new Float64Array(this.begins.length)),
      hours: new Float64Array(168),
      user: new Map(), program: new Map(), dataSet: new Map(), deletes: [],
    };
    for (let cell = 0; cell < this.cellMix.length; ++cell) {
      const bits = mixBits[this.cellMix[cell]] | stepBits[this.cellStep[cell]];
      if (bits !== 0) this.addCell(sums, cell, bits);
    }
    if (!this.hasHours) this.addHourTable(sums, mixBits);
    return sums;
  }

  addCell(sums, cell, bits) {
    const mix = this.cellMix[cell];
    const op = this.mixOp[mix];
    const step = this.cellStep[cell];
    const count = this.cellCount[cell];
    const meets = (kind) => (bits | IN[kind]) === IN_ALL;
    if (bits === IN_ALL) {
      sums.total[op] += count;
      if (OPS[op] === 'd') sums.deletes.push(cell);
    }
    if (meets('op')) sums.ops[op] += count;
    if (meets('period')) sums.steps[op][step] += count;
    if (this.hasHours && meets('hours')) {
      sums.hours[this.hourOfStep[step]] += count;
    }
    for (const kind of ['user', 'program', 'dataSet']) {
      if (meets(kind)) addTo(sums[kind], this.mixOf[kind][mix], op, count);
    }
  }

  // Where steps are longer than an hour, hours are those of the whole trail.
  addHourTable(sums, mixBits) {
    const wanted = IN.user | IN.program | IN.dataSet | IN.op;
    this.hourTable.forEach((row, mix) => {
      if ((mixBits[mix] & wanted) !== wanted) return;
      for (let i = 0; i < row.length; i += 2) sums.hours[row[i]] += row[i + 1];
    });
  }
}

function addTo(map, number, op, count) {
  if (!map.has(number)) map.set(number, [0, 0, 0]);
  map.get(number)[op] += count;
}

function total(counts) {
  return counts[0] + counts[1] + counts[2];
}
