// Elements, made without markup: whatever a trail says becomes text.

// Makes an element. Properties are attributes but for `text`, `class`, and
// functions, which listen to the event of that name.
function element(tag, properties = {}, ...children) {
  const made = document.createElement(tag);
  for (const [name, value] of Object.entries(properties)) {
    if (value === null || value === undefined || value === false) continue;
    if (typeof value === 'function') made.addEventListener(name, value);
    else if (name === 'text') made.textContent = value;
    else if (name === 'class') made.className = value;
    else made.setAttribute(name, value === true ? '' : value);
  }
  made.append(...children.filter((child) => child !== null));
  return made;
}

function byId(id) {
  return document.getElementById(id);
}

// Control characters would vanish, and marks of writing direction would turn
// what stands around them: both are shown by their numbers.
const HIDDEN = /[\u0000-\u001f\u007f-\u009f\u00ad\u061c\u200b-\u200f\u2028-\u202e\u2060-\u2069\ufeff]/g;

function visible(text) {
  return String(text).replace(HIDDEN, (character) => {
    const number = character.codePointAt(0).toString(16).toUpperCase();
    return `‹${number.padStart(2, '0')}›`;
  });
}

// A text of the trail, in a box of its own writing direction.
function trailText(text, className) {
  return element('bdi', {class: className, text: visible(text)});
}

const NUMBERS = new Intl.NumberFormat('en-US');

function formatted(number) {
  return NUMBERS.format(number);
}

function counted(number, one, many) {
  return `${formatted(number)} ${number === 1 ? one : many}`;
}

// Calls `work` once, after the last of many calls.
function debounced(work, delay) {
  let timer = 0;
  return () => {
    clearTimeout(timer);
    timer = setTimeout(work, delay);
  };
}
