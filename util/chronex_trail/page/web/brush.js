// Two handles over the whole trail, for mouse, touch and keyboard, and the
// window between them, which can be dragged.

class Brush {
  constructor(timeline) {
    this.timeline = timeline;
    this.window = element('div', {class: 'brush-window'});
    this.shades = [element('div', {class: 'brush-shade'}),
      element('div', {class: 'brush-shade'})];
    this.handles = ['Begin of the period', 'End of the period'].map(
      (label, i) => element('div', {class: 'brush-handle', role: 'slider',
        tabindex: '0', 'aria-label': label,
        keydown: (event) => this.key(event, i)}));
    this.place = byId('brush');
    this.place.replaceChildren(...this.shades, this.window, ...this.handles);
    this.place.addEventListener('pointerdown', (event) => this.drag(event));
    this.place.addEventListener('dblclick', () =>
      this.timeline.selection.change({from: null, to: null}));
  }

  span() {
    return this.timeline.end - this.timeline.begin;
  }

  timeAt(clientX) {
    const box = this.place.getBoundingClientRect();
    const share = (clientX - box.left) / box.width;
    return this.timeline.begin +
      Math.max(0, Math.min(1, share)) * this.span();
  }

  show(from, to) {
    this.times = [from, to];
    const [left, right] = this.times.map((time) =>
      (time - this.timeline.begin) / this.span() * 100);
    this.window.style.left = `${left}%`;
    this.window.style.right = `${100 - right}%`;
    this.shades[0].style.width = `${left}%`;
    this.shades[1].style.left = `${right}%`;
    const zone = this.timeline.page.zone;
    this.handles.forEach((handle, i) => {
      handle.style.left = `${i === 0 ? left : right}%`;
      handle.setAttribute('aria-valuemin', this.timeline.begin);
      handle.setAttribute('aria-valuemax', this.timeline.end);
      handle.setAttribute('aria-valuenow', this.times[i]);
      handle.setAttribute('aria-valuetext',
        zone.text(this.times[i]).slice(0, 16));
    });
  }

  // A drag moves a handle, moves the window, or begins a new window.
  drag(event) {
    if (event.button !== 0) return;
    event.preventDefault();
    const handle = this.handles.indexOf(event.target);
    const start = this.timeAt(event.clientX);
    const [from, to] = this.times;
    const isWhole = from <= this.timeline.begin && to >= this.timeline.end;
    const move = (moved) => {
      const time = this.timeAt(moved.clientX);
      if (handle === 0) this.timeline.select(Math.min(time, to - HOUR), to);
      else if (handle === 1) this.timeline.select(from, Math.max(time, from));
      else if (event.target === this.window && !isWhole) {
        this.shift(from, to, time - start);
      } else if (Math.abs(moved.clientX - event.clientX) > 4) {
        this.timeline.select(start, time);
      }
    };
    this.follow(event, move);
  }

  follow(event, move) {
    this.handles[Math.max(0, this.handles.indexOf(event.target))]
      .focus({preventScroll: true});
    this.place.setPointerCapture(event.pointerId);
    const end = () => {
      this.place.removeEventListener('pointermove', move);
      this.place.removeEventListener('pointerup', end);
      this.place.removeEventListener('pointercancel', end);
    };
    this.place.addEventListener('pointermove', move);
    this.place.addEventListener('pointerup', end);
    this.place.addEventListener('pointercancel', end);
  }

  shift(from, to, by) {
    const {begin, end} = this.timeline;
    const moved = Math.max(begin - from, Math.min(end - to, by));
    this.timeline.select(from + moved, to + moved);
  }

  key(event, i) {
    const zone = this.timeline.page.zone;
    const unit = this.timeline.stepUnit();
    const small = zone.next(this.times[i], unit) - this.times[i];
    const large = Math.max(DAY, small * 10);
    const moves = {ArrowLeft: -small, ArrowDown: -small, ArrowRight: small,
      ArrowUp: small, PageDown: -large, PageUp: large,
      Home: -this.span(), End: this.span()};
    if (event.key === 'Escape') {
      this.timeline.selection.change({from: null, to: null});
    } else if (event.key in moves) {
      const times = [...this.times];
      times[i] += moves[event.key];
      if (i === 0) times[0] = Math.min(times[0], times[1] - HOUR);
      else times[1] = Math.max(times[1], times[0] + HOUR);
      this.timeline.select(...times);
    } else {
      return;
    }
    event.preventDefault();
  }
}
