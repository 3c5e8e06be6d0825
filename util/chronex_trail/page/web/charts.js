// What all charts have in common: colours from the style sheet, and the charts
// that follow when these change.

const CHARTS = [];

function cssColor(name) {
  return getComputedStyle(document.documentElement)
    .getPropertyValue(name).trim();
}

const OP_COLORS = {c: '--created', u: '--updated', d: '--deleted'};

function styleCharts() {
  Chart.defaults.animation = false;
  Chart.defaults.maintainAspectRatio = false;
  Chart.defaults.font.family = getComputedStyle(document.body).fontFamily;
  Chart.defaults.font.size = 12;
  Chart.defaults.color = cssColor('--quiet');
  Chart.defaults.borderColor = cssColor('--line');
  // Sharp also where the page is printed or magnified.
  Chart.defaults.devicePixelRatio = Math.max(2, devicePixelRatio);
}

// Bars of the three operations on one another.
function opSets(options = {}) {
  return OPS.map((op) => ({label: OP_NAMES[op], data: [], ...options,
    backgroundColor: cssColor(OP_COLORS[op])}));
}

function newChart(canvas, config) {
  const chart = new Chart(canvas, config);
  CHARTS.push(chart);
  return chart;
}

// After another theme.
function recolorCharts() {
  styleCharts();
  for (const chart of CHARTS) {
    chart.data.datasets.forEach((set, i) => {
      set.backgroundColor = cssColor(OP_COLORS[OPS[i]]);
    });
    for (const scale of Object.values(chart.options.scales ?? {})) {
      if (scale.ticks) scale.ticks.color = cssColor('--quiet');
      if (scale.grid) scale.grid.color = cssColor('--line');
    }
    chart.update('none');
  }
}

function tooltipStyle() {
  return {
    backgroundColor: () => cssColor('--tooltip'),
    titleColor: () => cssColor('--tooltip-text'),
    bodyColor: () => cssColor('--tooltip-text'),
    footerColor: () => cssColor('--tooltip-text'),
    padding: 10, cornerRadius: 6, boxPadding: 4, mode: 'index',
    intersect: false,
    callbacks: {
      label: (item) => ` ${formatted(item.raw)} ${item.dataset.label}`,
      footer: (items) => items.length < 2 ? '' : counted(
        items.reduce((sum, item) => sum + item.raw, 0), 'change', 'changes'),
    },
    filter: (item) => item.raw > 0,
  };
}
