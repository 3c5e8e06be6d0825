// Times in the zone of the run. All times are seconds since the epoch.

const HOUR = 3600;
const DAY = 24 * HOUR;
const DAY_NAMES = ['Monday', 'Tuesday', 'Wednesday', 'Thursday', 'Friday',
  'Saturday', 'Sunday'];

class Zone {
  // `offsets`: pairs of a time and the seconds that local time is ahead of UTC
  // from then on, ascending.
  constructor({name, offsets}) {
    this.name = name.replace(/^:/, '');
    this.offsets = offsets;
  }

  offsetAt(time) {
    let offset = this.offsets[0][1];
    for (const [from, value] of this.offsets) {
      if (from > time) break;
      offset = value;
    }
    return offset;
  }

  // A date whose UTC fields are those of local time.
  local(time) {
    return new Date((time + this.offsetAt(time)) * 1000);
  }

  // The earliest time that has these local fields.
  fromLocal(year, month, day, hour = 0) {
    const wanted = Date.UTC(year, month, day, hour) / 1000;
    const times = this.offsets.map(([, offset]) => wanted - offset)
      .filter((time) => time + this.offsetAt(time) === wanted);
    return times.length > 0 ? Math.min(...times)
      : wanted - this.offsetAt(wanted);
  }

  date(time) {
    return this.local(time).toISOString().slice(0, 10);
  }

  // "2026-03-02 09:03:20", as filter expressions have it.
  text(time) {
    return this.local(time).toISOString().slice(0, 19).replace('T', ' ');
  }

  // 0 = Monday from 0:00. The epoch began on a Thursday.
  hourOfWeek(time) {
    const local = time + this.offsetAt(time);
    return (Math.floor(local / DAY) + 3) % 7 * 24 +
      Math.floor(local % DAY / HOUR);
  }

  // Where clocks were put back, a local time stands for the earlier of two
  // times; the later one cannot be named.
  canBeNamed(time) {
    return this.offsets.every(([from, offset], i) => {
      const lost = i === 0 ? 0 : this.offsets[i - 1][1] - offset;
      return time < from || time >= from + lost;
    });
  }

  // Begin of the local hour, day or month that a time is in, or of the next.
  floor(time, step) {
    const local = this.local(time);
    const hour = (time + this.offsetAt(time)) % HOUR;
    if (step === 'hour') return time - hour;
    return this.fromLocal(local.getUTCFullYear(), local.getUTCMonth(),
      step === 'day' ? local.getUTCDate() : 1);
  }

  next(time, step) {
    const local = this.local(time);
    const [year, month] = [local.getUTCFullYear(), local.getUTCMonth()];
    if (step === 'hour') return time + HOUR;
    if (step === 'month') return this.fromLocal(year, month + 1, 1);
    return this.fromLocal(year, month, local.getUTCDate() + 1);
  }
}
