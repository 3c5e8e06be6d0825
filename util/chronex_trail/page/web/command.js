// Shows, below a view, what gives the same on the command line.

function shellQuoted(text) {
  return `'${text.replaceAll('\'', '\'\\\'\'')}'`;
}

class CommandLine {
  constructor(place, context) {
    this.place = place;
    this.context = context;
    // A long one is cut to a line until it is clicked or focused.
    this.code = element('code', {class: 'command-text', tabindex: '0',
      click: () => this.code.classList.toggle('whole')});
    this.button = element('button', {type: 'button', class: 'plain copy',
      text: 'Copy', 'aria-label': 'Copy the filter', click: () => this.copy()});
    this.label = element('span', {class: 'command-label'});
    place.replaceChildren(this.label, this.code, this.button);
  }

  // `make` returns the tests; `what` says what they give.
  show(make, what = 'Filter') {
    let tests;
    try {
      tests = make();
    } catch (error) {
      if (!(error instanceof NoFilter)) throw error;
      this.showNone(`Filter: none gives this, ${error.message}`);
      return;
    }
    const options = this.context.options(tests);
    if (options === '') {
      this.showNone('Filter: none, this is the whole trail');
      return;
    }
    this.label.textContent = `${what}:`;
    this.code.textContent = options;
    this.code.hidden = this.button.hidden = false;
  }

  showNone(text) {
    this.label.textContent = text;
    this.code.textContent = '';
    this.code.hidden = this.button.hidden = true;
  }

  async copy() {
    try {
      await navigator.clipboard.writeText(this.code.textContent);
    } catch {
      const range = document.createRange();
      range.selectNodeContents(this.code);
      getSelection().removeAllRanges();
      getSelection().addRange(range);
      document.execCommand('copy');
    }
    this.button.textContent = 'Copied';
    setTimeout(() => {
      this.button.textContent = 'Copy';
    }, 1500);
  }
}

// Makes the options of commands for one page.
class CommandContext {
  constructor(summary, zone) {
    this.given = summary.options;
    this.zone = zone;
  }

  options(tests) {
    const filters = [...this.given];
    if (tests.length > 0) filters.push(tests.join(' AND '));
    if (filters.length === 0) return '';
    const words = filters.map((text) => `-e ${shellQuoted(text)}`);
    const hasTimes = filters.some((text) => /TIMESTAMP|conntime/i.test(text));
    if (hasTimes && this.zone.name !== '') {
      words.unshift(`--time-zone ${shellQuoted(this.zone.name)}`);
    }
    return words.join(' ');
  }
}
