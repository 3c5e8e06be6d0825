// Who and what: changes by user, program and data set. Names and numbers are
// buttons, the bars beside them the chart library's.

const BAR_KINDS = [['user', 'Users'], ['program', 'Programs'],
  ['dataSet', 'Data sets']];
const BAR_HEIGHT = 30;
const FEW_BARS = 10;
const MOST_BARS = 200;

class Bars {
  constructor(page, kind, title) {
    this.page = page;
    this.kind = kind;
    this.shown = FEW_BARS;
    this.list = element('div', {class: 'bar-names', role: 'group',
      'aria-label': title});
    const canvas = element('canvas', {'aria-hidden': 'true'});
    this.place = element('div', {class: 'bar-chart'}, canvas);
    this.more = element('button', {type: 'button', class: 'plain',
      click: () => this.toggleMore()});
    this.note = element('p', {class: 'quiet'});
    const command = element('div', {class: 'command-place'});
    byId(kind === 'user' ? 'users' : 'bars').append(element('section', {class: 'card', 'data-kind': kind,
      'aria-label': title},
    element('div', {class: 'card-head'}, element('h2', {text: title}),
      this.note),
    element('div', {class: 'bars'}, this.list, this.place), this.more,
    command));
    this.command = new CommandLine(command, page.commands);
    this.chart = this.makeChart(canvas);
  }

  makeChart(canvas) {
    return newChart(canvas, {
      type: 'bar',
      data: {labels: [], datasets: opSets({barThickness: 16})},
      options: {
        indexAxis: 'y',
        layout: {padding: 0},
        onClick: (event, items) => {
          if (items.length > 0) this.choose(this.numbers[items[0].index]);
        },
        interaction: {mode: 'index', axis: 'y', intersect: false},
        scales: {x: {stacked: true, display: false, beginAtZero: true},
          y: {stacked: true, display: false}},
        plugins: {legend: {display: false}, tooltip: tooltipStyle()},
      },
    });
  }

  nameText(number) {
    if (number === OTHERS) return 'all others';
    return this.page.counts.names[this.kind][number] ?? '(none)';
  }

  choose(number) {
    if (number === OTHERS) return;
    const {selection, counts} = this.page;
    const names = counts.names[this.kind];
    const chosen = selection[this.kind];
    selection.change({[this.kind]: chosen !== null && chosen.numbers.has(number)
      ? null : {name: names[number], numbers: alike(names, names[number]),
        label: this.nameText(number)}});
  }

  toggleMore() {
    this.shown = this.shown === FEW_BARS ? MOST_BARS : FEW_BARS;
    this.show(this.sums);
  }

  show(sums) {
    this.sums = sums;
    const {selection, counts, zone} = this.page;
    const all = [...sums[this.kind]].sort((a, b) => total(b[1]) - total(a[1]));
    const shown = all.slice(0, this.shown);
    this.numbers = shown.map(([number]) => number);
    this.showChart(shown);
    this.showNames(shown);
    this.note.textContent = this.noteText(all, shown);
    this.more.hidden = all.length <= FEW_BARS;
    this.more.textContent = this.shown === FEW_BARS ? 'Show more'
      : 'Show fewer';
    this.command.show(() => selectionTests(selection.with({[this.kind]: null}),
      counts, zone));
  }

  showChart(shown) {
    this.place.style.height = `${shown.length * BAR_HEIGHT}px`;
    this.chart.data.labels = shown.map(([number]) =>
      visible(this.nameText(number)));
    this.chart.data.datasets.forEach((set, op) => {
      set.data = shown.map(([, counts]) => counts[op]);
    });
    this.chart.resize();
    this.chart.update('none');
  }

  showNames(shown) {
    const chosen = this.page.selection[this.kind];
    const focused = this.list.contains(document.activeElement)
      ? [...this.list.children].indexOf(document.activeElement) : -1;
    this.list.replaceChildren(...shown.map(([number, counts]) => {
      const pressed = chosen !== null && chosen.numbers.has(number);
      return element('button', {type: 'button', class: 'bar-name',
        'aria-pressed': String(pressed), 'data-number': number,
        disabled: number === OTHERS, click: () => this.choose(number)},
      trailText(this.nameText(number), 'bar-text'),
      element('span', {class: 'bar-count', text: formatted(total(counts))}));
    }));
    if (focused >= 0) this.list.children[focused]?.focus();
  }

  noteText(all, shown) {
    const named = all.filter(([number]) => number !== OTHERS).length;
    return shown.length < all.length
      ? `${formatted(shown.length)} of ${formatted(named)}`
      : formatted(named);
  }
}
