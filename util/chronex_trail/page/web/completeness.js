// What is there of the trail, and what is known to be missing.

function rangesText(ranges) {
  return ranges.map(([first, last]) =>
    first === last ? `${first}` : `${first} to ${last}`).join(', ');
}

// What is wrong, a line each.
function problems(figures) {
  const all = figures.completeness;
  const lines = [];
  if (all.status !== 0) {
    lines.push('The run ended with an error: what follows it is missing here.');
  }
  if (all.missing_generations.length > 0) {
    lines.push(`Missing generations: ${rangesText(all.missing_generations)}.`);
  }
  for (const one of all.generations) {
    if (one.missing.length === 0) continue;
    lines.push(`Missing files of generation ${one.generation}: ` +
      `sequence ${rangesText(one.missing)}.`);
  }
  if (all.lost_actions > 0) {
    lines.push(`${counted(all.lost_actions, 'action is', 'actions are')} ` +
      'missing inside the files.');
  }
  if (all.unreadable > 0) {
    const sets = figures.data_sets.filter((set) => set.unreadable > 0)
      .map((set) => visible(set.name));
    lines.push(`${counted(all.unreadable, 'change has', 'changes have')} ` +
      `encrypted values whose key is not there: ${sets.join(', ')}.`);
  }
  if (all.too_old > 0) {
    lines.push(`${counted(all.too_old, 'input is', 'inputs are')} too old to ` +
      'have changes in it.');
  }
  // What audit files say of the logs that they were made of counts as well.
  for (const [list, count] of [[all.damage, all.damage_count],
    [all.reported, all.reported_count]]) {
    for (const notice of list) lines.push(noticeText(all, notice));
    if (count > list.length) {
      lines.push(`… and ${formatted(count - list.length)} more of this kind.`);
    }
  }
  return lines;
}

function noticeText(all, notice) {
  const input = notice.input === null ? '' :
    `${visible(all.inputs[notice.input].name)}: `;
  return input + visible(notice.text);
}

function gapText(all, gap) {
  const input = gap.input === null ? '' :
    ` at ${visible(all.inputs[gap.input].name)}`;
  return `${gap.kind} ${gap.expected} expected, ${gap.found} found${input}: ` +
    `${formatted(gap.missing)} missing`;
}

function inputsTable(all, zone) {
  const rows = all.inputs.map((input) => element('tr', {},
    element('td', {}, trailText(input.name)),
    element('td', {text: input.generation === undefined ? input.format
      : `${input.generation}-${input.sequence}`}),
    element('td', {class: 'number',
      text: formatted(input.puts + input.updates + input.deletes)}),
    element('td', {text: !input.accepted ? 'passed over'
      : input.last === 0 ? 'no changes'
        : `${zone.text(input.first)} to ${zone.text(input.last)}`})));
  const heads = ['Input', 'Number', 'Changes', 'From and to'].map((text) =>
    element('th', {scope: 'col', text}));
  return element('table', {class: 'facts'},
    element('thead', {}, element('tr', {}, ...heads)),
    element('tbody', {}, ...rows));
}

function showCompleteness(summary, zone) {
  const figures = summary.figures;
  const all = figures.completeness;
  const lines = problems(figures);
  const place = byId('completeness');
  place.classList.add(all.complete ? 'complete' : 'incomplete');
  const accepted = all.inputs.filter((input) => input.accepted).length;
  const verdict = all.complete ? 'Complete' : 'Not complete';
  place.replaceChildren(...[
    element('div', {class: 'verdict'},
      element('span', {class: 'verdict-sign', 'aria-hidden': 'true',
        text: all.complete ? '✓' : '!'}),
      element('h2', {id: 'completeness-title', text: verdict}),
      element('p', {class: 'quiet', text: all.complete
        ? `${counted(accepted, 'input', 'inputs')}, nothing is known to be missing`
        : `${counted(accepted, 'input', 'inputs')}; what follows is missing`})),
    lines.length === 0 ? null : element('ul', {class: 'problems'},
      ...lines.map((text) => element('li', {text}))),
    completenessDetails(all, zone)].filter((part) => part !== null));
}

function completenessDetails(all, zone) {
  const gaps = all.gaps.map((gap) => element('li', {text: gapText(all, gap)}));
  const warnings = all.warnings.map((warning) =>
    element('li', {text: noticeText(all, warning)}));
  const extra = [
    gaps.length === 0 ? '' : counted(all.gap_count, 'gap', 'gaps'),
    warnings.length === 0 ? ''
      : counted(all.warning_count, 'warning', 'warnings'),
  ].filter((text) => text !== '');
  return element('details', {},
    element('summary', {text: ['Inputs', ...extra].join(', ')}),
    element('div', {class: 'table-place'}, inputsTable(all, zone)),
    gaps.length === 0 ? null : element('ul', {class: 'problems'}, ...gaps),
    warnings.length === 0 ? null
      : element('ul', {class: 'problems'}, ...warnings));
}
