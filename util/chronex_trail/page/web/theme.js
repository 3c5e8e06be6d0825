// Light, dark, or what the system says.

const THEMES = ['auto', 'light', 'dark'];

class Theme {
  constructor(changed) {
    this.changed = changed;
    this.button = byId('theme');
    this.button.addEventListener('click', () => this.set(
      THEMES[(THEMES.indexOf(this.theme) + 1) % THEMES.length]));
    matchMedia('(prefers-color-scheme: dark)').addEventListener('change',
      () => this.changed());
    this.set('auto');
  }

  set(theme) {
    this.theme = theme;
    if (theme === 'auto') delete document.documentElement.dataset.theme;
    else document.documentElement.dataset.theme = theme;
    this.button.textContent = `Theme: ${theme}`;
    this.changed();
  }
}
