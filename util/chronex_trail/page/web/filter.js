// Filter expressions of the command line that give what the page shows.

// Thrown with the reason when there is none.
class NoFilter extends Error {}

const MOST_PARTS = 1000;
const PARTS_OF_RANGE = 8;
// Filter expressions have no later times.
const LAST_TIME = Date.UTC(2038, 11, 31) / 1000;

// A character that cannot stand in a command as it is: any one matches it.
const UNTYPABLE = /[\u0000-\u001f\u007f-\u009f]/;

// What is no character ends the text that an attribute is compared by.
const CUT = '\ufffd';

// A text as a wildcard pattern that matches it.
function patternOf(text) {
  if (text.includes(CUT)) return `${patternOf(text.split(CUT)[0])}*`;
  return [...text].map((character) => {
    if (UNTYPABLE.test(character)) return '?';
    return '*?[\\'.includes(character) ? `\\${character}` : character;
  }).join('');
}

// Inside braces, brackets and quotes a backslash makes the next one literal.
function escaped(text, closing) {
  return [...text].map((character) =>
    character === '\\' || character === closing ? `\\${character}` : character)
    .join('');
}

// The numbers of all names that the pattern of one of them matches: upper and
// lower case are alike there.
function alike(names, name) {
  const numbers = new Set();
  const fold = (text) => text === null ? null
    : text.replace(/[a-z]/g, (letter) => letter.toUpperCase());
  const wanted = name === null ? null : [...fold(name).split(CUT)[0]];
  const isCut = name !== null && name.includes(CUT);
  names.forEach((other, number) => {
    if (wanted === null || other === null) {
      if (wanted === null && other === null) numbers.add(number);
      return;
    }
    const characters = [...fold(other)];
    const fits = isCut ? characters.length >= wanted.length
      : characters.length === wanted.length;
    if (fits && wanted.every((character, i) =>
      character === characters[i] || UNTYPABLE.test(character))) {
      numbers.add(number);
    }
  });
  return numbers;
}

function attributeTest(attribute, value) {
  if (value === null) return `NOT ${attribute} = {*}`;
  return `${attribute} = {${escaped(patternOf(value), '}')}}`;
}

function dataSetTest(name) {
  if (!name.includes('.')) {
    throw new NoFilter('the database of this data set is not known');
  }
  if (/^[A-Za-z][\w-]*\.[\w-]+$/.test(name)) return name;
  return `[${escaped(patternOf(name), ']')}]`;
}

function timeText(time, zone) {
  if (time > LAST_TIME) throw new NoFilter('dates end with the year 2038');
  if (!zone.canBeNamed(time)) {
    throw new NoFilter('clocks were put back: this time of day came twice');
  }
  return zone.text(time);
}

function periodTest(from, to, zone) {
  const tests = [];
  if (from !== null) tests.push(`TIMESTAMP >= ${timeText(from, zone)}`);
  if (to !== null) tests.push(`TIMESTAMP < ${timeText(to, zone)}`);
  return tests.join(' AND ');
}

// The hours of a selection as ranges of time. Hours without any change at all
// may be part of a range, which keeps the expression short.
function hourRanges(selection, counts, zone) {
  const ranges = [];
  let open = false;
  counts.begins.forEach((begin, step) => {
    if (!selection.inPeriod(begin)) return;
    const wanted = selection.hours.has(counts.hourOfStep[step]);
    if (wanted && !open) ranges.push([begin, begin]);
    if (wanted) ranges[ranges.length - 1][1] = zone.next(begin, 'hour');
    open = wanted;
  });
  return ranges;
}

function hoursTest(selection, counts, zone) {
  const ranges = hourRanges(selection, counts, zone);
  if (ranges.length * PARTS_OF_RANGE > MOST_PARTS - 100) {
    throw new NoFilter('too many hours for one expression: select a period');
  }
  // Nothing can be in no hour at all.
  if (ranges.length === 0) return 'TIMESTAMP < 1970-01-02';
  const tests = ranges.map(([from, to]) =>
    `(${periodTest(from, to, zone)})`);
  return tests.length === 1 ? tests[0] : `(${tests.join(' OR ')})`;
}

// The tests of a selection, to be joined with AND.
function selectionTests(selection, counts, zone) {
  const tests = [];
  if (selection.op !== null) tests.push(OP_WORDS[selection.op]);
  for (const [kind, make] of [
    ['user', (name) => attributeTest('user', name)],
    ['program', (name) => attributeTest('program', name)],
    ['dataSet', dataSetTest]]) {
    if (selection[kind] !== null) tests.push(make(selection[kind].name));
  }
  if (selection.hours !== null) {
    tests.push(hoursTest(selection, counts, zone));
  } else if (selection.from !== null || selection.to !== null) {
    tests.push(periodTest(selection.from, selection.to, zone));
  }
  return tests;
}
