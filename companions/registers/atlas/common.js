'use strict';

const data = JSON.parse(document.getElementById('data').textContent);
const content = document.getElementById('content');
const search = document.getElementById('search');

const hex = number => '0x' + number.toString(16);

/** An element with attributes; children are elements or text. A name with "svg:" is of a drawing. */
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
  return make('table', {}, make('thead', {}, make('tr', {}, headings.map(text => make('th', {}, text)))),
              make('tbody', {}, rows));
}
