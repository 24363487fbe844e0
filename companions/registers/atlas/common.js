'use strict';

const data = JSON.parse(document.getElementById('data').textContent);
const content = document.getElementById('content');
const search = document.getElementById('search');

const hex = number => '0x' + number.toString(16);

/** Makes an element; children are elements or text. A name with "svg:" makes an SVG element. */
function make(name, attributes, ...children) {
  const drawn = name.startsWith('svg:');
  const element = drawn ? document.createElementNS('http://www.w3.org/2000/svg', name.slice(4))
                        : document.createElement(name);
  for (const [key, value] of Object.entries(attributes || {})) {
    element.setAttribute(key, value);
  }
  element.append(...children.flat().filter(child => child !== null));
  return element;
}

function table(headings, rows) {
  return make('table', {},
              make('thead', {}, make('tr', {}, headings.map(text => make('th', {scope: 'col'}, text)))),
              make('tbody', {}, rows));
}

/** "/" moves the focus to the search, and Enter there opens the first result. */
document.addEventListener('keydown', event => {
  const isTyping = event.target.matches('input, select, textarea');
  if (event.key === '/' && !isTyping && !event.ctrlKey && !event.metaKey && !event.altKey) {
    event.preventDefault();
    search.focus();
    search.select();
  } else if (event.key === 'Enter' && event.target === search) {
    const first = content.querySelector('tbody a');
    if (first) {
      search.blur();
      first.click();
    }
  }
});
