// What is out of the ordinary in the selection.

const MASS_DELETES = 20;
const FEW_LINES = 4;

class Notable {
  constructor(page) {
    this.page = page;
    this.blocks = [
      ['outside', 'Outside office hours'],
      ['deletes', 'Mass deletes'],
      ['records', 'Records changed most'],
      ['users', 'Users first seen'],
      ['back', 'Values changed back'],
    ].map(([name, title]) => this.makeBlock(name, title));
    byId('notable').replaceChildren(...this.blocks.map(({place}) => place));
  }

  makeBlock(name, title) {
    const block = {name, lines: element('ul', {class: 'notable-lines'}),
      count: element('span', {class: 'badge'}),
      note: element('p', {class: 'quiet'}), all: false};
    const command = element('div', {class: 'command-place'});
    block.more = element('button', {type: 'button', class: 'plain more',
      click: () => {
        block.all = !block.all;
        this.show(this.sums);
      }});
    block.place = element('section', {class: 'notable', 'data-block': name,
      'aria-label': title},
    element('h3', {}, title, ' ', block.count), block.note, block.lines,
    block.more, command);
    block.command = new CommandLine(command, this.page.commands);
    return block;
  }

  show(sums) {
    this.sums = sums;
    for (const block of this.blocks) {
      const found = this[block.name](sums);
      block.count.textContent = found.count;
      block.count.classList.toggle('none', found.lines.length === 0);
      block.note.textContent = found.note ?? '';
      block.note.hidden = !found.note;
      const shown = block.all ? found.lines : found.lines.slice(0, FEW_LINES);
      block.lines.replaceChildren(...shown.map((line) => this.line(line)));
      block.more.hidden = found.lines.length <= FEW_LINES;
      block.more.textContent = block.all ? 'Show fewer'
        : `Show all ${formatted(found.lines.length)}`;
      block.command.place.hidden = !found.tests;
      if (found.tests) block.command.show(found.tests, found.what);
    }
  }

  // A line: texts, a number, and what a click on it does.
  line({texts, number, click}) {
    return element('li', {}, element('button', {type: 'button',
      class: 'notable-line', click},
    element('span', {class: 'notable-text'}, ...texts),
    number === undefined ? null
      : element('span', {class: 'bar-count', text: number})));
  }

  tests(values) {
    const {selection, counts, zone} = this.page;
    return selectionTests(selection.with(values), counts, zone);
  }

  name(kind, number) {
    return number === OTHERS ? 'others'
      : this.page.counts.names[kind][number] ?? '(none)';
  }

  chosen(kind, number) {
    const names = this.page.counts.names[kind];
    return {name: names[number], numbers: alike(names, names[number]),
      label: this.name(kind, number)};
  }

  outside() {
    const {counts, selection, heatmap} = this.page;
    if (!counts.hasHours) {
      return {count: '', lines: [],
        note: 'no figures by hour over so long a time; see the hours of the week'};
    }
    const hours = new Set(Array.from({length: 168}, (_, i) => i).filter(
      (hour) => !heatmap.isOffice(hour) && selection.inHours(hour)));
    const values = {hours, hoursName: 'Outside office hours'};
    const sums = counts.sums(selection.with(values));
    const users = [...sums.user].filter(([number, ops]) => total(ops) > 0 &&
      selection.has('user', number))
      .sort((a, b) => total(b[1]) - total(a[1]));
    return {count: formatted(total(sums.total)),
      tests: total(sums.total) === 0 ? null : () => this.tests(values),
      what: 'Filter',
      lines: users.map(([number, ops]) => ({
        texts: [trailText(this.name('user', number))],
        number: formatted(total(ops)),
        click: () => selection.change(number === OTHERS ? values
          : {...values, user: this.chosen('user', number)}),
      }))};
  }

  deletes(sums) {
    const {counts, zone, selection} = this.page;
    const unit = counts.step === 'all' ? null : counts.step;
    const found = sums.deletes.map((cell) => {
      const mix = counts.cellMix[cell];
      const of = counts.mixOf;
      return {begin: counts.begins[counts.cellStep[cell]],
        count: counts.cellCount[cell], user: of.user[mix],
        program: of.program[mix], dataSet: of.dataSet[mix]};
    }).filter((one) => one.count >= MASS_DELETES && unit !== null &&
      one.user !== OTHERS && one.program !== OTHERS && one.dataSet !== OTHERS)
      .sort((a, b) => b.count - a.count);
    const values = (one) => ({op: 'd', from: one.begin,
      to: zone.next(one.begin, unit), hours: null, hoursName: '',
      user: this.chosen('user', one.user),
      program: this.chosen('program', one.program),
      dataSet: this.chosen('dataSet', one.dataSet)});
    return {count: formatted(found.length),
      note: found.length === 0 ? `nobody deleted ${MASS_DELETES} records of a ` +
        `data set within one ${counts.step}` : null,
      tests: found.length === 0 ? null : () => this.tests(values(found[0])),
      what: 'Filter of the first',
      lines: found.slice(0, 100).map((one) => ({
        texts: [trailText(this.name('user', one.user)), ' from ',
          trailText(this.name('dataSet', one.dataSet)),
          element('span', {class: 'quiet',
            text: ` ${zone.text(one.begin).slice(0, 16)}`})],
        number: formatted(one.count),
        click: () => selection.change(values(one)),
      }))};
  }

  records() {
    const {rows, selection, summary} = this.page;
    const {figures} = summary;
    const fromFigures = summary.left_out > 0 && selection.isEmpty();
    const found = fromFigures ? figures.records.map(
      ([set, recno, atLeast, atMost]) => ({recno,
        dataSet: summary.data_sets.indexOf(figures.data_sets[set].name),
        count: atLeast, text: atLeast === atMost ? formatted(atLeast)
          : `${formatted(atLeast)} to ${formatted(atMost)}`}))
      : mostChanged(rows, this.page.selectedRows);
    return {count: '', tests: found.length === 0 ? null
      : () => recordTests(this.page, found[0].dataSet, found[0].recno),
    what: 'Filter of the first',
    note: summary.left_out === 0 ? null : fromFigures
      ? (figures.record_bound === 0 ? null : 'no other record has more than ' +
        `${formatted(figures.record_bound)} changes`)
      : 'among the listed changes',
    lines: found.map((one) => ({
      texts: [trailText(this.name('dataSet', one.dataSet)),
        ` record ${one.recno}`],
      number: one.text ?? formatted(one.count),
      click: () => this.page.detail.showRecord(one.dataSet, one.recno),
    }))};
  }

  // Those that were there on the first day are no news.
  users() {
    const {summary, selection, zone, counts} = this.page;
    const {figures} = summary;
    const begin = figures.changes.first + DAY;
    const found = figures.users.filter((user) => user.name !== null &&
      user.first > begin && selection.inPeriod(user.first))
      .map((user) => ({...user, number: counts.names.user.indexOf(user.name)}))
      .filter((user) => user.number >= 0 &&
        selection.has('user', user.number))
      .sort((a, b) => b.first - a.first);
    return {count: formatted(found.length),
      note: found.length === 0 ? 'nobody after the first day of the trail'
        : null,
      tests: found.length === 0 ? null
        : () => [attributeTest('user', found[0].name)],
      what: 'Filter of the first',
      lines: found.map((user) => ({
        texts: [trailText(user.name), element('span', {class: 'quiet',
          text: ` first ${zone.text(user.first).slice(0, 16)}`})],
        number: formatted(user.puts + user.updates + user.deletes),
        click: () => selection.change(
          {user: this.chosen('user', user.number)}),
      }))};
  }

  back() {
    const {summary, selection} = this.page;
    const all = summary.taken_back;
    const found = all.list.filter(([dataSet, , , , time, user]) =>
      selection.inPeriod(time) && selection.has('dataSet', dataSet) &&
      selection.has('user', user));
    const notes = [];
    if (all.count > all.list.length) {
      notes.push(`the first ${formatted(all.list.length)} of ` +
        `${formatted(all.count)}`);
    }
    if (all.forgotten > 0) notes.push('there may be more');
    return {count: formatted(found.length), note: notes.join('; '),
      tests: found.length === 0 ? null : () => this.backTests(found[0]),
      what: 'Filter of the first',
      lines: found.slice(0, 100).map((one) => this.backLine(one))};
  }

  backTests([dataSet, recno, , changed, back]) {
    const {zone} = this.page;
    return [...recordTests(this.page, dataSet, recno),
      `TIMESTAMP >= ${timeText(changed, zone)}`,
      `TIMESTAMP <= ${timeText(back, zone)}`];
  }

  backLine([dataSet, recno, item, , back, user, value, between]) {
    const {zone, detail} = this.page;
    return {
      texts: [trailText(this.name('dataSet', dataSet)), ` record ${recno}, `,
        trailText(item), ': ', trailText(valueText(value), 'value'), ' → ',
        trailText(valueText(between), 'value'), ' → ',
        trailText(valueText(value), 'value'),
        element('span', {class: 'quiet',
          text: ` ${zone.text(back).slice(0, 16)}`}), ' ',
        trailText(this.name('user', user), 'quiet')],
      click: () => detail.showRecord(dataSet, recno),
    };
  }
}

// The listed records with the most changes among some rows.
function mostChanged(rows, numbers) {
  const found = new Map();
  for (const row of numbers) {
    const key = rows.dataSet(row) * 2 ** 32 + rows.recno[row];
    found.set(key, (found.get(key) ?? 0) + 1);
  }
  return [...found].sort((a, b) => b[1] - a[1] || a[0] - b[0]).slice(0, 50)
    .map(([key, count]) => ({count, dataSet: Math.floor(key / 2 ** 32),
      recno: key % 2 ** 32}));
}

function recordTests(page, dataSet, recno) {
  const name = page.counts.names.dataSet[dataSet];
  if (name === undefined) throw new NoFilter('too many data sets to name it');
  return [dataSetTest(name), `RECNO = ${recno}`];
}
