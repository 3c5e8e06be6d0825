// A change, a record's history or a session's life, beside the page.

const MOST_HISTORY = 500;

class Detail {
  constructor(page) {
    this.page = page;
    this.dialog = byId('detail');
    this.back = [];
    this.dialog.addEventListener('close', () => {
      this.back = [];
      this.current = null;
    });
    this.dialog.addEventListener('click', (event) => {
      if (event.target === this.dialog) this.dialog.close();
    });
  }

  open(show) {
    if (this.current) this.back.push(this.current);
    this.current = show;
    show();
    if (!this.dialog.open) this.dialog.showModal();
    this.dialog.scrollTop = 0;
    this.dialog.querySelector('.close').focus();
  }

  goBack() {
    this.current = this.back.pop();
    this.current();
    this.dialog.querySelector('.close').focus();
  }

  fill(title, ...content) {
    const back = this.back.length === 0 ? null : element('button',
      {type: 'button', class: 'plain', text: 'Back',
        click: () => this.goBack()});
    this.dialog.replaceChildren(element('div', {class: 'detail-head'}, back,
      element('h2', {id: 'detail-title'}, ...title),
      element('button', {type: 'button', class: 'plain close', text: 'Close',
        click: () => this.dialog.close()})),
    ...content.filter((part) => part !== null));
  }

  name(kind, number) {
    return this.page.counts.names[kind][number] ?? '(none)';
  }

  showChange(row) {
    this.open(() => this.drawChange(row));
  }

  showRecord(dataSet, recno) {
    this.open(() => this.drawRecord(dataSet, recno));
  }

  showSession(number) {
    this.open(() => this.drawSession(number));
  }

  async drawChange(row) {
    const {rows, zone} = this.page;
    const dataSet = rows.dataSet(row);
    const title = [element('span', {class: `op op-${rows.op[row]}`,
      text: OP_NAMES[rows.op[row]]}), ' ', trailText(this.name('dataSet',
      dataSet)), ` record ${rows.recno[row]}`];
    const values = element('div', {class: 'table-place'}, '…');
    const history = element('div', {}, '…');
    this.fill(title, this.facts(row),
      element('h3', {text: 'Before and after'}), values,
      element('h3', {text: 'History of this record'}), history);
    const loaded = await rows.loadedValues(row);
    values.replaceChildren(valuesTable(loaded));
    await this.fillHistory(history, dataSet, rows.recno[row], row);
  }

  facts(row) {
    const {rows, zone, summary} = this.page;
    const number = rows.session[row];
    const session = rows.sessions[number];
    const input = summary.figures.completeness.inputs[rows.input[row]];
    return factList([
      ['Time', zone.text(rows.time[row])],
      ['Session', element('button', {type: 'button', class: 'link',
        click: () => this.showSession(number)},
      `${session.id}, `, trailText(this.name('user', session.user)), ', ',
      trailText(this.name('program', session.program)))],
      ['Place', element('span', {}, trailText(input.name),
        `, ${input.format === 'audit' ? 'record' : 'action'} ` +
        `${rows.place[row]}`)],
    ]);
  }

  async drawRecord(dataSet, recno) {
    const history = element('div', {}, '…');
    this.fill([trailText(this.name('dataSet', dataSet)), ` record ${recno}`],
      element('h3', {text: 'History'}), history);
    await this.fillHistory(history, dataSet, recno, null);
  }

  async fillHistory(place, dataSet, recno, current) {
    const {rows} = this.page;
    const found = rows.where((row) => rows.recno[row] === recno &&
      rows.dataSet(row) === dataSet);
    const table = await this.changesTable(found, current, false);
    const command = element('div', {class: 'command-place'});
    new CommandLine(command, this.page.commands).show(
      () => recordTests(this.page, dataSet, recno));
    place.replaceChildren(this.listNote(found), table, command);
  }

  listNote(found) {
    const texts = [counted(found.length, 'change', 'changes')];
    if (found.length > MOST_HISTORY) {
      texts.push(`${MOST_HISTORY} of them are shown`);
    }
    if (this.page.summary.left_out > 0) {
      texts.push('as far as they are listed on this page; the command has all');
    }
    return element('p', {class: 'quiet', text: texts.join('; ')});
  }

  async changesTable(found, current, withRecord) {
    const {rows, zone} = this.page;
    const begin = Math.max(0, Math.min(found.length - MOST_HISTORY,
      found.indexOf(current) - MOST_HISTORY / 2));
    const shown = found.slice(begin, begin + MOST_HISTORY);
    const values = await Promise.all(shown.map((row) =>
      rows.loadedValues(row)));
    const lines = shown.map((row, i) => element('tr',
      {'aria-current': row === current ? 'true' : null},
      element('td', {class: 'time'}, element('button', {type: 'button',
        class: 'link', text: zone.text(rows.time[row]), click: () => this.showChange(row)})),
      element('td', {}, element('span', {class: `op op-${rows.op[row]}`,
        text: OP_NAMES[rows.op[row]]})),
      element('td', {}, ...(withRecord
        ? [trailText(this.name('dataSet', rows.dataSet(row))),
          ` ${rows.recno[row]}`]
        : [trailText(this.name('user', rows.user(row)))])),
      element('td', {class: 'wrap'}, ...changeText(values[i]))));
    const heads = ['Time', 'Operation', withRecord ? 'Record' : 'User',
      'Change'];
    return element('div', {class: 'table-place'},
      element('table', {class: 'facts'},
        element('thead', {}, element('tr', {}, ...heads.map((text) =>
          element('th', {scope: 'col', text})))),
        element('tbody', {}, ...lines)));
  }

  async drawSession(number) {
    const {rows} = this.page;
    const session = rows.sessions[number];
    const changes = element('div', {}, '…');
    this.fill([`Session ${session.id}, `,
      trailText(this.name('user', session.user))],
    this.sessionFacts(session), this.memos(session),
    element('h3', {text: 'Changes'}), changes);
    const found = rows.where((row) => rows.session[row] === number);
    const table = await this.changesTable(found, null, true);
    const command = element('div', {class: 'command-place'});
    new CommandLine(command, this.page.commands).show(
      () => this.sessionTests(session));
    changes.replaceChildren(this.listNote(found), table, command);
  }

  sessionFacts(session) {
    const {zone} = this.page;
    const all = session.puts + session.updates + session.deletes;
    return factList([
      ['Connected', session.conntime === 0 ? 'not known'
        : zone.text(session.conntime)],
      ['Changes', `${formatted(all)}: ${formatted(session.puts)} created, ` +
        `${formatted(session.updates)} updated, ` +
        `${formatted(session.deletes)} deleted`],
      ['First and last', `${zone.text(session.first)} to ` +
        zone.text(session.last)],
      ['Signed off', session.signedOff ? 'yes' : 'not in this trail'],
      ...session.attributes.map(([key, value]) => [trailText(key),
        trailText(value)]),
    ]);
  }

  memos(session) {
    const {zone} = this.page;
    if (session.memos.length === 0) return null;
    const more = session.memoCount - session.memos.length;
    return element('section', {}, element('h3', {text: 'Memos'}),
      element('ul', {class: 'memos'}, ...session.memos.map(
        ([time, mode, text]) => element('li', {},
          element('span', {class: 'quiet', text: `${zone.text(time)} ${mode} `}),
          trailText(text)))),
      more === 0 ? null : element('p', {class: 'quiet',
        text: `and ${formatted(more)} more`}));
  }

  // Numbers of sessions are used again: the connection time tells them apart.
  sessionTests(session) {
    const {zone} = this.page;
    const id = `id = {${session.id}}`;
    if (session.conntime !== 0 && zone.canBeNamed(session.conntime)) {
      return [id, `conntime = {${timeText(session.conntime, zone)}}`];
    }
    return [id, `TIMESTAMP >= ${timeText(session.first, zone)}`,
      `TIMESTAMP <= ${timeText(session.last, zone)}`];
  }
}

function factList(facts) {
  return element('dl', {class: 'fact-list'}, ...facts.flatMap(
    ([term, fact]) => [element('dt', {}, term), element('dd', {}, fact)]));
}

function valueCell(value, there, differs) {
  return element('td', {class: differs ? 'wrap differs' : 'wrap'},
    there ? trailText(valueText(value)) : element('span', {class: 'quiet',
      text: '–'}));
}

function valuesTable({items, hasBefore, hasAfter}) {
  const heads = ['Item', 'Before', 'After'].map((text) =>
    element('th', {scope: 'col', text}));
  const lines = items.map((item) => element('tr',
    {class: item.differs ? 'differs' : null},
    element('th', {scope: 'row'}, trailText(item.name),
      item.differs ? element('span', {class: 'changed-mark',
        text: 'changed'}) : null),
    valueCell(item.before, hasBefore, item.differs),
    valueCell(item.after, hasAfter, item.differs)));
  return element('table', {class: 'facts values'},
    element('thead', {}, element('tr', {}, ...heads)),
    element('tbody', {}, ...lines));
}
