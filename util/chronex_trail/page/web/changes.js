// The list of changes: only the rows in view are elements, so that it stays
// smooth whatever its length.

const ROW_HEIGHT = 32;
const SPARE_ROWS = 5;
// When more rows than these come into view at once, their values wait until
// the list rests.
const FEW_ROWS = 8;
const REST_MS = 70;
const SLICE_MS = 12;
const PRINTED_ROWS = 100;
const MOST_CHANGED_SHOWN = 3;

const COLUMNS = ['Time', 'Operation', 'User', 'Program', 'Data set', 'Record',
  'Change'];

class ChangeList {
  constructor(page) {
    this.page = page;
    this.numbers = new Uint32Array(0);
    this.active = 0;
    this.pool = new Map();
    this.search = '';
    this.turn = 0;
    this.build();
    this.command = new CommandLine(byId('changes-command'), page.commands);
    const searchSoon = debounced(() => {
      this.search = byId('search').value.trim().toLowerCase();
      this.filter();
    }, 150);
    byId('search').addEventListener('input', () => {
      byId('changes').setAttribute('aria-busy', 'true');
      searchSoon();
    });
  }

  build() {
    this.spacer = element('div', {class: 'list-spacer', role: 'presentation'});
    this.body = element('div', {class: 'list-rows', role: 'rowgroup'});
    this.scroller = element('div', {class: 'list-scroller', role: 'presentation',
      scroll: () => this.draw()}, this.spacer);
    this.fillSoon = debounced(() => this.fillChanges(), REST_MS);
    this.spacer.append(this.body);
    const head = element('div', {class: 'list-row list-head', role: 'row'},
      ...COLUMNS.map((text) =>
        element('span', {role: 'columnheader', text})));
    this.grid = element('div', {class: 'list', role: 'grid', tabindex: '0',
      'aria-labelledby': 'changes-title', 'aria-colcount': COLUMNS.length,
      keydown: (event) => this.key(event)},
    element('div', {role: 'rowgroup'}, head), this.scroller);
    this.printed = element('div', {class: 'printed'});
    byId('changes').replaceChildren(this.grid, this.printed);
    new ResizeObserver(() => this.draw()).observe(this.scroller);
  }

  show(numbers) {
    this.selected = numbers;
    this.filter();
  }

  showCommand() {
    const {selection, counts, zone} = this.page;
    this.command.show(() => selectionTests(selection, counts, zone),
      this.search === '' ? 'Filter' : 'Filter, without the search');
  }

  filter() {
    const turn = ++this.turn;
    this.showCommand();
    if (this.search === '') {
      this.take(this.selected);
      return;
    }
    byId('changes').setAttribute('aria-busy', 'true');
    byId('changes-note').textContent = 'searching …';
    this.find(turn);
  }

  take(numbers) {
    byId('changes').removeAttribute('aria-busy');
    this.numbers = numbers;
    this.active = 0;
    this.scroller.scrollTop = 0;
    this.spacer.style.height = `${numbers.length * ROW_HEIGHT}px`;
    this.grid.setAttribute('aria-rowcount', numbers.length + 1);
    this.pool.forEach((row) => row.remove());
    this.pool.clear();
    this.draw();
    this.note();
  }

  note() {
    const {summary, sums} = this.page;
    const texts = [counted(this.numbers.length, 'change', 'changes')];
    if (this.search !== '') texts[0] += ' found';
    const left = total(sums.total) - this.selected.length;
    if (summary.left_out > 0 && left > 0) {
      texts.push(`${formatted(left)} of ${formatted(total(sums.total))} ` +
        `are left out, ${summary.evenly ? 'evenly over the trail'
          : 'the earlier ones'}; all figures above count them`);
    }
    byId('changes-note').textContent = texts.join('; ');
  }

  // Looks through the values a slice of time after the other.
  async find(turn) {
    const needle = JSON.stringify(this.search).slice(1, -1);
    const found = [];
    let until = performance.now() + SLICE_MS;
    for (const row of this.selected) {
      const part = this.page.rows.partOf(row);
      if (part.lines === null) await part.load();
      if (this.matches(row, part, needle)) found.push(row);
      if (performance.now() < until) continue;
      await new Promise((resume) => setTimeout(resume));
      if (turn !== this.turn) return;
      until = performance.now() + SLICE_MS;
    }
    if (turn === this.turn) this.take(Uint32Array.from(found));
  }

  matches(row, part, needle) {
    if (this.head(row).some((text) =>
      text.toLowerCase().includes(this.search))) {
      return true;
    }
    const {rows} = this.page;
    const line = part.lines[row - part.begin];
    if (!line.toLowerCase().includes(needle)) return false;
    const {items, memo} = readValues(rows, row, part);
    return (memo ?? '').toLowerCase().includes(this.search) ||
      items.some((item) => [item.before, item.after].some((value) =>
        JSON.stringify(value ?? null).toLowerCase().includes(needle)));
  }

  // What a row says besides its values.
  head(row) {
    const {rows, counts, zone} = this.page;
    const name = (kind, number) => counts.names[kind][number] ?? '';
    return [zone.text(rows.time[row]), OP_NAMES[rows.op[row]],
      name('user', rows.user(row)), name('program', rows.program(row)),
      name('dataSet', rows.dataSet(row)), String(rows.recno[row])];
  }

  visibleRange() {
    const first = Math.floor(this.scroller.scrollTop / ROW_HEIGHT);
    const count = Math.ceil(this.scroller.clientHeight / ROW_HEIGHT);
    return [Math.max(0, first - SPARE_ROWS),
      Math.min(this.numbers.length, first + count + SPARE_ROWS)];
  }

  draw() {
    const [begin, end] = this.visibleRange();
    for (const [index, row] of this.pool) {
      if (index >= begin && index < end) continue;
      row.remove();
      this.pool.delete(index);
    }
    const added = document.createDocumentFragment();
    for (let index = begin; index < end; ++index) {
      if (!this.pool.has(index)) added.append(this.makeRow(index));
    }
    const isLeap = added.childElementCount > FEW_ROWS;
    this.body.append(added);
    if (isLeap) this.fillSoon();
    else this.fillChanges();
    this.markActive();
  }

  makeRow(index) {
    const row = this.numbers[index];
    const [time, opName, ...texts] = this.head(row);
    const cell = (className, text) => element('bdi', {role: 'gridcell',
      class: className, text: visible(text)});
    const made = element('div', {class: `list-row row-${this.page.rows.op[row]}`,
      role: 'row', id: `row-${index}`, 'aria-rowindex': index + 2,
      click: () => this.open(index)},
    cell('list-time', time), cell('list-op', opName),
    ...texts.map((text) => cell('', text)), cell('list-change', '…'));
    made.style.top = `${index * ROW_HEIGHT}px`;
    this.pool.set(index, made);
    return made;
  }

  // Shows the values of the rows that do not have theirs yet.
  fillChanges() {
    for (const [index, made] of this.pool) {
      if (made.dataset.filled) continue;
      const row = this.numbers[index];
      const values = this.page.rows.values(row);
      if (values === null) {
        this.page.rows.loadedValues(row).then(() => this.fillSoon());
        continue;
      }
      made.dataset.filled = 'true';
      made.lastElementChild.replaceChildren(...changeText(values));
    }
  }

  markActive() {
    this.grid.querySelector('.list-row.active')?.classList.remove('active');
    const row = this.pool.get(this.active);
    row?.classList.add('active');
    if (row) this.grid.setAttribute('aria-activedescendant', row.id);
    else this.grid.removeAttribute('aria-activedescendant');
  }

  open(index) {
    this.active = index;
    this.markActive();
    this.page.detail.showChange(this.numbers[index]);
  }

  key(event) {
    const last = this.numbers.length - 1;
    const page = Math.floor(this.scroller.clientHeight / ROW_HEIGHT) - 1;
    const moves = {ArrowDown: 1, ArrowUp: -1, PageDown: page, PageUp: -page,
      Home: -last - 1, End: last + 1};
    if (event.key === 'Enter' && last >= 0) {
      this.open(this.active);
    } else if (event.key in moves) {
      this.active = Math.max(0, Math.min(last, this.active + moves[event.key]));
      this.reveal();
    } else {
      return;
    }
    event.preventDefault();
  }

  reveal() {
    const top = this.active * ROW_HEIGHT;
    const {scrollTop, clientHeight} = this.scroller;
    if (top < scrollTop) this.scroller.scrollTop = top;
    const bottom = top + ROW_HEIGHT - clientHeight;
    if (bottom > scrollTop) this.scroller.scrollTop = bottom;
    this.draw();
  }

  // On paper there is no scrolling.
  async print() {
    const {rows} = this.page;
    const numbers = [...this.numbers.subarray(0, PRINTED_ROWS)];
    const lines = numbers.map((row) => {
      const values = rows.values(row);
      return element('tr', {}, ...this.head(row).map((text) =>
        element('td', {}, trailText(text))),
      element('td', {}, ...(values === null ? ['…'] : changeText(values))));
    });
    const rest = this.numbers.length - numbers.length;
    this.printed.replaceChildren(element('table', {class: 'facts'},
      element('thead', {}, element('tr', {}, ...COLUMNS.map((text) =>
        element('th', {scope: 'col', text})))),
      element('tbody', {}, ...lines)),
    element('p', {class: 'quiet', text: rest <= 0 ? ''
      : `${counted(rest, 'further change is', 'further changes are')} ` +
        'not printed.'}));
  }
}

// A change in one line: what differs, or what there was.
function changeText({items, memo, hasBefore, hasAfter}) {
  const differing = items.filter((item) => item.differs);
  const shown = hasBefore && hasAfter ? differing
    : items.slice(0, MOST_CHANGED_SHOWN);
  const parts = shown.slice(0, MOST_CHANGED_SHOWN).flatMap((item) => [
    visible(item.name), ' ',
    ...(hasBefore && hasAfter ? [trailText(valueText(item.before), 'old'),
      ' → '] : []),
    trailText(valueText(hasAfter ? item.after : item.before),
      hasAfter ? 'new' : 'old'), '  ']);
  if (shown.length > MOST_CHANGED_SHOWN) {
    parts.push(`and ${shown.length - MOST_CHANGED_SHOWN} more  `);
  }
  if (memo !== null) parts.push(trailText(memo, 'memo'));
  return parts;
}
