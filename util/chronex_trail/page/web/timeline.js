// Changes over time: the selected period above, the whole trail with a brush
// below.

const MOST_BINS = 130;
// Lengths of bins: a unit of local time, and how many of it.
const BIN_SIZES = [['hour', 1], ['hour', 2], ['hour', 3], ['hour', 6],
  ['hour', 12], ['day', 1], ['day', 7], ['month', 1], ['month', 3],
  ['month', 12]];
const APPROXIMATE = {hour: HOUR, day: DAY, month: 30 * DAY};

// The edges of bins that hold all times from `from` to before `to`.
function binEdges(from, to, zone, shortest) {
  const sizes = BIN_SIZES.filter(([unit]) =>
    APPROXIMATE[unit] >= APPROXIMATE[shortest]);
  const [unit, count] = sizes.find(([name, size]) =>
    (to - from) / (APPROXIMATE[name] * size) <= MOST_BINS) ?? sizes.at(-1);
  const edges = [firstEdge(from, unit, count, zone)];
  while (edges.at(-1) < to) {
    let edge = edges.at(-1);
    if (unit === 'hour' && count > 1) {
      edge = nextHourEdge(edge, count, zone);
    } else {
      for (let i = 0; i < count; ++i) edge = zone.next(edge, unit);
    }
    edges.push(edge);
  }
  return {edges, unit, count};
}

// Several hours begin with the day, weeks with Monday.
function firstEdge(from, unit, count, zone) {
  if (unit === 'hour') return zone.floor(from, count === 1 ? 'hour' : 'day');
  let edge = zone.floor(from, unit);
  while (unit === 'day' && count === 7 && zone.local(edge).getUTCDay() !== 1) {
    edge = zone.floor(edge - HOUR, 'day');
  }
  return edge;
}

// The day that clocks are moved has hours more or less.
function nextHourEdge(edge, count, zone) {
  const local = zone.local(edge);
  const hour = local.getUTCHours() + count;
  return zone.fromLocal(local.getUTCFullYear(), local.getUTCMonth(),
    local.getUTCDate(), hour - hour % count);
}

// Sums of steps per bin.
function binned(begins, steps, edges) {
  const sums = OPS.map(() => new Array(edges.length - 1).fill(0));
  let bin = 0;
  begins.forEach((begin, step) => {
    if (begin < edges[0] || begin >= edges.at(-1)) return;
    while (begin >= edges[bin + 1]) ++bin;
    steps.forEach((counts, op) => {
      sums[op][bin] += counts[step];
    });
  });
  return sums;
}

class Timeline {
  constructor(page) {
    this.page = page;
    this.selection = page.selection;
    const begins = page.counts.begins;
    this.begin = begins[0] ?? 0;
    this.end = begins.length === 0 ? 1
      : page.zone.next(begins.at(-1), this.stepUnit());
    this.edges = [];
    this.chart = this.makeChart();
    this.overview = this.makeOverview();
    this.brush = this.canBrush() ? new Brush(this) : null;
    this.command = new CommandLine(byId('timeline-command'), page.commands);
    this.listen();
  }

  stepUnit() {
    return this.page.counts.step === 'all' ? 'month' : this.page.counts.step;
  }

  canBrush() {
    return this.page.counts.step !== 'all' && this.page.counts.begins.length > 0;
  }

  makeChart() {
    return newChart(byId('timeline'), {
      type: 'bar',
      data: {labels: [], datasets: opSets({barPercentage: 1,
        categoryPercentage: 0.92})},
      options: {
        interaction: {mode: 'index', intersect: false},
        onClick: (event, items) => this.zoomTo(items[0]?.index),
        scales: {
          x: {stacked: true, grid: {display: false},
            ticks: {maxRotation: 0, autoSkipPadding: 18}},
          y: {stacked: true, beginAtZero: true, ticks: {precision: 0,
            maxTicksLimit: 6}, grid: {color: cssColor('--line')},
          title: {display: false}},
        },
        plugins: {legend: {display: false},
          tooltip: {...tooltipStyle(), callbacks: {
            ...tooltipStyle().callbacks,
            title: (items) => this.binTitle(items[0].dataIndex)}}},
      },
    });
  }

  makeOverview() {
    return newChart(byId('overview'), {
      type: 'bar',
      data: {labels: [], datasets: opSets({barPercentage: 1,
        categoryPercentage: 1})},
      options: {
        events: [],
        layout: {padding: 0},
        scales: {x: {stacked: true, display: false},
          y: {stacked: true, display: false}},
        plugins: {legend: {display: false}, tooltip: {enabled: false}},
      },
    });
  }

  listen() {
    for (const id of ['period-from', 'period-to']) {
      byId(id).disabled = !this.canBrush();
      byId(id).addEventListener('change', () => this.takeFields());
    }
    byId('period-clear').addEventListener('click', () =>
      this.selection.change({from: null, to: null}));
  }

  fieldTime(id) {
    const value = byId(id).value;
    if (value === '') return null;
    const [year, month, day, hour] = value.split(/[-T:]/).map(Number);
    return this.page.zone.fromLocal(year, month - 1, day, hour);
  }

  takeFields() {
    this.select(this.fieldTime('period-from') ?? this.begin,
      this.fieldTime('period-to') ?? this.end);
  }

  // Selects whole steps; all of them are no selection.
  select(from, to) {
    const snapped = [from, to].map((time) => this.snap(time)).sort((a, b) =>
      a - b);
    if (snapped[0] === snapped[1]) {
      snapped[1] = this.page.zone.next(snapped[0], this.stepUnit());
    }
    this.selection.change({
      from: snapped[0] <= this.begin ? null : snapped[0],
      to: snapped[1] >= this.end ? null : snapped[1]});
  }

  // The begin of a step that a filter expression can name.
  snap(time) {
    const zone = this.page.zone;
    const inside = Math.max(this.begin, Math.min(this.end, time));
    const floor = zone.floor(inside, this.stepUnit());
    const next = zone.next(floor, this.stepUnit());
    let edge = inside - floor < next - inside ? floor : next;
    while (!zone.canBeNamed(edge)) edge = zone.next(edge, 'hour');
    return edge;
  }

  zoomTo(bin) {
    if (bin === undefined || !this.canBrush()) return;
    this.select(this.edges[bin], this.edges[bin + 1]);
  }

  binTitle(bin) {
    const zone = this.page.zone;
    const [from, to] = [this.edges[bin], this.edges[bin + 1]];
    const day = DAY_NAMES[Math.floor(zone.hourOfWeek(from) / 24)];
    if (this.unit !== 'hour') {
      return this.count === 1 && this.unit === 'day'
        ? `${day}, ${zone.date(from)}`
        : `${zone.date(from)} to ${zone.date(to - 1)}`;
    }
    return `${day}, ${zone.text(from).slice(0, 16)} to ` +
      zone.text(to).slice(11, 16);
  }

  binLabel(time) {
    const text = this.page.zone.text(time);
    if (this.unit === 'month') return text.slice(0, 7);
    if (this.unit === 'day') return text.slice(0, 10);
    return text.slice(11, 16) === '00:00' ? text.slice(5, 10)
      : text.slice(11, 16);
  }

  show(sums) {
    const {selection, page} = this;
    const from = selection.from ?? this.begin;
    const to = selection.to ?? this.end;
    Object.assign(this, binEdges(from, to, page.zone, this.stepUnit()));
    this.fill(this.chart, this.edges, sums);
    this.fill(this.overview,
      binEdges(this.begin, this.end, page.zone, this.stepUnit()).edges, sums);
    byId('timeline').setAttribute('aria-label', this.description(sums));
    this.showFields(from, to);
    this.brush?.show(from, to);
    this.command.show(() => selectionTests(selection, page.counts, page.zone));
  }

  fill(chart, edges, sums) {
    const bins = binned(this.page.counts.begins, sums.steps, edges);
    chart.data.labels = edges.slice(0, -1).map((time) => this.binLabel(time));
    chart.data.datasets.forEach((set, op) => {
      set.data = bins[op];
    });
    chart.update('none');
  }

  description(sums) {
    const parts = OPS.map((op, i) =>
      `${formatted(sums.total[i])} ${OP_NAMES[op]}`);
    return `Changes over time in the selected period: ${parts.join(', ')}`;
  }

  showFields(from, to) {
    const text = (time) => this.page.zone.text(time).slice(0, 16)
      .replace(' ', 'T');
    byId('period-from').value = text(from);
    byId('period-to').value = text(to);
    byId('period-clear').disabled = this.selection.from === null &&
      this.selection.to === null;
  }
}
