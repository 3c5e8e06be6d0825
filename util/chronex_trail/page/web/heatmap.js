// When in the week there are changes. A table, so that it can be read cell by
// cell; the hours of work have a frame.

const SHADES = 8;

class Heatmap {
  constructor(page) {
    this.page = page;
    this.focused = 9;
    this.command = new CommandLine(byId('heatmap-command'), page.commands);
    this.cells = Array.from({length: 168}, (_, hour) => this.makeCell(hour));
    byId('heatmap').replaceChildren(this.makeTable());
    byId('heatmap').append(this.makeButtons());
    this.cells[this.focused].tabIndex = 0;
  }

  isOffice(hour) {
    const {office} = this.page.summary;
    const [day, ofDay] = [Math.floor(hour / 24), hour % 24];
    return day >= office.first_day && day <= office.last_day &&
      ofDay >= office.first_hour && ofDay < office.end_hour;
  }

  // The frame around the hours of work.
  frame(hour) {
    if (!this.isOffice(hour)) return '';
    const {office} = this.page.summary;
    const [day, ofDay] = [Math.floor(hour / 24), hour % 24];
    return [' office',
      day === office.first_day ? ' office-top' : '',
      day === office.last_day ? ' office-bottom' : '',
      ofDay === office.first_hour ? ' office-left' : '',
      ofDay === office.end_hour - 1 ? ' office-right' : ''].join('');
  }

  makeCell(hour) {
    return element('td', {role: 'gridcell', tabindex: '-1',
      class: `heat${this.frame(hour)}`, 'data-hour': hour,
      click: () => this.toggle(hour),
      keydown: (event) => this.key(event, hour)});
  }

  makeTable() {
    const heads = Array.from({length: 24}, (_, hour) =>
      element('th', {scope: 'col', class: hour % 3 === 0 ? '' : 'minor',
        text: `${hour}`}));
    const rows = DAY_NAMES.map((name, day) => element('tr', {},
      element('th', {scope: 'row'}, element('abbr', {title: name,
        text: name.slice(0, 3)})),
      ...this.cells.slice(day * 24, day * 24 + 24)));
    return element('table', {class: 'heatmap', role: 'grid',
      'aria-labelledby': 'heatmap-title', 'aria-describedby': 'heatmap-note'},
    element('thead', {}, element('tr', {}, element('td', {}), ...heads)),
    element('tbody', {}, ...rows));
  }

  makeButtons() {
    const button = (text, test) => element('button', {type: 'button',
      class: 'plain', text, disabled: !this.page.counts.hasHours,
      click: () => this.select(test, text)});
    const scale = element('span', {class: 'heat-scale', 'aria-hidden': 'true'},
      'fewer', ...Array.from({length: SHADES + 1}, (_, shade) =>
        element('span', {class: `heat shade-${shade}`})), 'more');
    return element('div', {class: 'heatmap-foot'},
      button('Outside office hours', (hour) => !this.isOffice(hour)),
      button('In office hours', (hour) => this.isOffice(hour)), scale);
  }

  select(test, hoursName) {
    const {selection} = this.page;
    const same = selection.hoursName === hoursName;
    const hours = new Set(Array.from({length: 168}, (_, i) => i).filter(test));
    selection.change(same ? {hours: null, hoursName: ''} : {hours, hoursName});
  }

  hourName(hour) {
    const of = hour % 24;
    return `${DAY_NAMES[Math.floor(hour / 24)]} ${of}:00 to ${of + 1}:00`;
  }

  toggle(hour) {
    this.focus(hour);
    if (this.page.counts.hasHours) {
      this.select((other) => other === hour, this.hourName(hour));
    }
  }

  focus(hour) {
    this.cells[this.focused].tabIndex = -1;
    this.focused = hour;
    this.cells[hour].tabIndex = 0;
    this.cells[hour].focus();
  }

  key(event, hour) {
    const moves = {ArrowLeft: hour - 1, ArrowRight: hour + 1,
      ArrowUp: hour - 24, ArrowDown: hour + 24, Home: hour - hour % 24,
      End: hour - hour % 24 + 23};
    if (event.key === 'Enter' || event.key === ' ') this.toggle(hour);
    else if (!(event.key in moves)) return;
    else if (moves[event.key] in this.cells) this.focus(moves[event.key]);
    event.preventDefault();
  }

  show(sums) {
    const {selection, counts, zone, summary} = this.page;
    const most = Math.max(...sums.hours);
    this.cells.forEach((cell, hour) => {
      const count = sums.hours[hour];
      // Few changes at night must be seen beside many by day.
      const shade = count === 0 ? 0
        : Math.max(1, Math.ceil(Math.sqrt(count / most) * SHADES));
      const selected = selection.hours !== null && selection.hours.has(hour);
      cell.className = `heat shade-${shade}${this.frame(hour)}` +
        (selected ? ' selected' : '');
      cell.title = `${this.hourName(hour)}: ` +
        counted(count, 'change', 'changes');
      cell.setAttribute('aria-label', cell.title);
      cell.setAttribute('aria-selected', selected);
    });
    const {office} = summary;
    byId('heatmap-note').textContent = counts.hasHours
      ? `framed: office hours, ${office.first_hour} to ${office.end_hour}`
      : 'of the whole trail: over so long a time the selected period has no ' +
        'figures by hour';
    this.command.show(() => selectionTests(selection.with({hours: null}),
      counts, zone));
  }
}
