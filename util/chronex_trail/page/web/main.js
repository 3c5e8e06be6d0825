// The page: opens its data, and shows them again whenever the selection
// changes.

class Page {
  constructor(summary, columns, sessions) {
    this.summary = summary;
    this.zone = new Zone(summary.zone);
    this.counts = new Counts(summary, this.zone);
    this.rows = new Rows(summary, columns, sessions, this.zone);
    this.selection = new Selection();
    this.commands = new CommandContext(summary, this.zone);
  }

  build() {
    styleCharts();
    showCompleteness(this.summary, this.zone);
    this.showHead();
    this.timeline = new Timeline(this);
    this.heatmap = new Heatmap(this);
    this.bars = BAR_KINDS.map(([kind, title]) => new Bars(this, kind, title));
    this.notable = new Notable(this);
    this.changes = new ChangeList(this);
    this.detail = new Detail(this);
    this.command = new CommandLine(byId('selection-command'), this.commands);
    this.selection.listeners.push(() => this.showSoon());
    this.theme = new Theme(recolorCharts);
    this.prepareForPrint();
  }

  showHead() {
    const {first, last} = this.summary.figures.changes;
    byId('period').textContent = last === 0 ? 'no changes'
      : `${this.zone.text(first)} to ${this.zone.text(last)}`;
    byId('footer').textContent = [this.zone.name === ''
      ? 'Times are local to the machine that made this page.'
      : `Times are those of ${visible(this.zone.name)}.`,
    this.summary.options.length === 0 ? ''
      : 'Only what satisfies the filter given when the page was made is here.',
    'This page loads nothing and sends nothing.'].join(' ');
  }

  // At most once a frame, however fast a brush moves.
  showSoon() {
    if (this.waiting) return;
    this.waiting = true;
    requestAnimationFrame(() => {
      this.waiting = false;
      this.show();
    });
  }

  show() {
    const {selection} = this;
    this.sums = this.counts.sums(selection);
    this.selectedRows = this.rows.selected(selection);
    this.showSelection();
    this.showLegend();
    this.timeline.show(this.sums);
    this.heatmap.show(this.sums);
    for (const bars of this.bars) bars.show(this.sums);
    this.notable.show(this.sums);
    this.changes.show(this.selectedRows);
  }

  showSelection() {
    const all = this.summary.figures.changes;
    const [puts, updates, deletes] = this.sums.total;
    const count = puts + updates + deletes;
    byId('selection-count').replaceChildren(
      element('strong', {id: 'count', text: formatted(count)}),
      ` ${count === 1 ? 'change' : 'changes'}`,
      this.selection.isEmpty() ? '' : ` selected of ${formatted(
        all.puts + all.updates + all.deletes)}`);
    byId('chips').replaceChildren(...this.chips());
    this.command.show(() => selectionTests(this.selection, this.counts,
      this.zone));
  }

  // What is selected, each to be taken back with a click.
  chips() {
    const {selection, zone} = this;
    const chips = [];
    const add = (texts, values) => chips.push(element('button', {type: 'button',
      class: 'chip', click: () => selection.change(values)}, ...texts,
    element('span', {class: 'chip-end', 'aria-label': 'remove', text: '×'})));
    if (selection.from !== null || selection.to !== null) {
      const text = (time, open) => time === null ? open
        : zone.text(time).slice(0, 16);
      add([`${text(selection.from, 'begin')} to ${text(selection.to, 'end')}`],
        {from: null, to: null});
    }
    if (selection.hours !== null) {
      add([selection.hoursName], {hours: null, hoursName: ''});
    }
    if (selection.op !== null) add([OP_NAMES[selection.op]], {op: null});
    for (const [kind, title] of [['user', 'user'], ['program', 'program'],
      ['dataSet', 'data set']]) {
      if (selection[kind] === null) continue;
      add([`${title} `, trailText(selection[kind].label)], {[kind]: null});
    }
    if (chips.length > 1) {
      chips.push(element('button', {type: 'button', class: 'plain',
        text: 'Clear all', click: () => {
          selection.reset();
          selection.tell();
        }}));
    }
    return chips;
  }

  // The operations, which can be selected here.
  showLegend() {
    const focused = document.activeElement?.dataset.op;
    byId('legend').replaceChildren(...OPS.map((op, i) => element('button', {
      type: 'button', class: 'legend-entry', 'data-op': op,
      'aria-pressed': String(this.selection.op === op),
      click: () => this.selection.change(
        {op: this.selection.op === op ? null : op})},
    element('span', {class: `swatch swatch-${op}`, 'aria-hidden': 'true'}),
    `${OP_NAMES[op]} `,
    element('span', {class: 'bar-count', text: formatted(this.sums.ops[i])}))));
    if (focused) byId('legend').querySelector(`[data-op="${focused}"]`)?.focus();
  }

  prepareForPrint() {
    byId('print').addEventListener('click', () => window.print());
    const print = (isPrinting) => {
      document.documentElement.classList.toggle('printing', isPrinting);
      recolorCharts();
      CHARTS.forEach((chart) => chart.resize());
    };
    addEventListener('beforeprint', () => {
      this.changes.print();
      print(true);
    });
    addEventListener('afterprint', () => print(false));
  }
}

async function openPage() {
  const [[summary], columns, [sessions]] = await Promise.all(
    ['summary', 'columns', 'sessions'].map(unpackAll));
  const page = new Page(summary, columns, sessions);
  byId('page').hidden = false;
  page.build();
  page.show();
  byId('loading').remove();
  document.documentElement.dataset.ready = 'true';
  performance.mark('ready');
  page.rows.unpackIdly();
}

openPage().catch((error) => {
  byId('loading').textContent = 'DecompressionStream' in window
    ? `This page could not be opened: ${error.message}`
    : 'This browser is too old to open this page.';
  throw error;
});
