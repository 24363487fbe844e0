const groups = document.getElementById('groups');
/** The links to the other designs, and their pages. */
const navigation = [...document.querySelectorAll('nav a:not([href^="index"])')].map(link =>
  ({link, page: link.getAttribute('href')}));
const narrow = window.matchMedia('(max-width: 60rem)');

const pathOf = group => group.domain + '.' + group.name;
const kindOf = member => member.memory ? 'memory' : 'register';
const range = count => count > 1 ? `[0..${count - 1}]` : '';
const index = (count, i) => count > 1 ? `[${i}]` : '';
const addressOf = (group, member, i, j) =>
  group.address + i * group.step + member.offset + j * member.step;

function bitsOf(field, k = 0) {
  const low = field.shift + k * field.step;
  const high = low + 31 - Math.clz32(field.mask);
  return high === low ? `${low}` : `${high}:${low}`;
}

/** One entry for each element of each field. */
function fieldsOf(member) {
  return member.fields.flatMap(field => Array.from({length: field.count}, (unused, k) => ({
    name: field.name, element: k, path: field.name + index(field.count, k), bits: bitsOf(field, k),
    mask: field.mask, shift: field.shift + k * field.step, access: field.access,
    reset: field.reset, letter: '',
  }))).map((field, i) =>
    ({...field, letter: 'abcdefghijklmnopqrstuvwxyzABCDEF'[i], colour: 'c' + i % 6}));
}

/** Calls back for each group instance and each element of its members, in order of construction. */
function forEachMember(callGroup, callMember) {
  for (const group of data.groups) {
    for (let i = 0; i < group.count; ++i) {
      callGroup(group, i);
      for (const member of group.members) {
        for (let j = 0; j < member.count; ++j) {
          callMember(group, i, member, j);
        }
      }
    }
  }
}

/** The whole map as text, a line for each object. */
function list() {
  const lines = [];
  const place = (group, i) => `Domain_${group.domain} Group_${group.name} ${i}`;
  forEachMember(
    (group, i) => lines.push(`group ${place(group, i)} ${hex(group.address + i * group.step)}`),
    (group, i, member, j) => {
      const owner = `${place(group, i)} ${member.name} ${j}`;
      lines.push(`${kindOf(member)} ${owner} ${hex(addressOf(group, member, i, j))}` +
                 (member.memory ? ` ${member.words}` : ''));
      for (const field of fieldsOf(member)) {
        lines.push(`field ${owner} ${field.name} ${field.element} ${hex(field.mask)} ${field.shift}`);
      }
    });
  return lines.join('\n') + '\n';
}

// --- Paths

/** Takes the first index of a step, 0 if there is none; throws an Error if it is too large. */
function takeIndex(step, count, shown) {
  const taken = step.indices.length ? step.indices.shift() : 0;
  if (taken >= count) {
    throw new Error(count === 1 ? `${shown} has only [0], not [${taken}]`
                                : `${shown} has only [0] to [${count - 1}], not [${taken}]`);
  }
  return taken;
}

function named(list, step, shown) {
  const found = list.find(one => one.name === step.name);
  if (!found) {
    throw new Error(`${data.design} has no ${shown}.${step.name}`);
  }
  return found;
}

function stepsOf(path) {
  const steps = path.split('.').map(text => /^([A-Za-z]\w*)((?:\[\d+\])*)$/.exec(text));
  if (steps.includes(null) || steps.length < 2 || steps.length > 4) {
    throw new Error(`“${path}” is not a path such as sbuf.chip_misc[0].R_debug.value`);
  }
  return steps.map(([, name, indices]) =>
    ({name, indices: [...indices.matchAll(/\d+/g)].map(Number)}));
}

/**
 * The place at a path: a group and its instance and, if the path goes on, a member, its element, a
 * memory's word and a field. Throws an Error with a text for the user.
 */
function resolve(path) {
  const [domain, group, member, field] = stepsOf(path);
  const place = {group: named(data.groups.filter(one => one.domain === domain.name), group, domain.name)};
  const shown = [pathOf(place.group)];
  place.instance = takeIndex(group, place.group.count, shown[0]);
  if (member) {
    place.member = named(place.group.members, member, shown[0]);
    shown.push(place.member.name);
    const {memory, count, words} = place.member;
    const isElement = count > 1 || member.indices.length > (memory ? 1 : 0);
    place.element = isElement ? takeIndex(member, count, shown.join('.')) : 0;
    if (memory && member.indices.length) {
      place.word = takeIndex(member, words, shown.join('.') + index(count, place.element));
    }
  }
  if (field) {
    place.field = named(place.member.fields, field, shown.join('.'));
    shown.push(place.field.name);
    place.fieldElement = takeIndex(field, place.field.count, shown.join('.'));
  }
  if ([group, member, field].some(step => step && step.indices.length)) {
    throw new Error(`${shown.join('.')} takes fewer indices`);
  }
  return place;
}

/** The path of a place, with its instance and elements. */
function textOf({group, instance, member, element, word, field, fieldElement}) {
  let text = `${pathOf(group)}[${instance}]`;
  if (member) {
    text += `.${member.name}${index(member.count, element)}${word === undefined ? '' : `[${word}]`}`;
  }
  return field ? `${text}.${field.name}${index(field.count, fieldElement)}` : text;
}

// --- Searching

/** The object at a path with indices. */
function findPlace(path) {
  const place = resolve(path);
  const {group, instance, member, element, word, field, fieldElement} = place;
  return [{
    kind: field ? 'field' : member ? kindOf(member) : 'group', link: path, path: textOf(place),
    address: member ? addressOf(group, member, instance, element) + 4 * (word || 0)
                    : group.address + instance * group.step,
    bits: field ? bitsOf(field, fieldElement) : '', about: (member || group).about,
  }];
}

function findText(text) {
  const wanted = text.toLowerCase();
  const found = [];
  const collect = (kind, name, shown, address, bits, about = '') => {
    const at = name.toLowerCase().lastIndexOf(wanted);
    const isNamed = at >= 0 && at + wanted.length > name.lastIndexOf('.') + 1;
    if (isNamed || about.toLowerCase().includes(wanted)) {
      found.push({kind, link: name, path: shown, address, bits, about});
    }
  };
  for (const group of data.groups) {
    const name = pathOf(group);
    const shown = name + range(group.count);
    collect('group', name, shown, group.address, '', group.about);
    for (const member of group.members) {
      const address = addressOf(group, member, 0, 0);
      const memberName = `${name}.${member.name}`;
      const memberShown = `${shown}.${member.name}${range(member.count)}`;
      collect(kindOf(member), memberName, memberShown, address, '', member.about);
      for (const field of member.fields) {
        collect('field', `${memberName}.${field.name}`,
                `${memberShown}.${field.name}${range(field.count)}`, address, bitsOf(field));
      }
    }
  }
  return found;
}

function findAddress(number) {
  const address = number - number % 4;
  const found = [];
  forEachMember(() => {}, (group, i, member, j) => {
    const word = (address - addressOf(group, member, i, j)) / 4;
    if (word < 0 || word >= member.words) {
      return;
    }
    const path = `${pathOf(group)}[${i}].${member.name}${index(member.count, j)}` +
                 (member.memory ? `[${word}]` : '');
    found.push({kind: kindOf(member), link: path, path, address, bits: ''});
    for (const field of fieldsOf(member)) {
      found.push({kind: 'field', link: `${path}.${field.path}`, path: `${path}.${field.path}`, address,
                  bits: field.bits});
    }
  });
  return found;
}

function find(text) {
  if (/^(0x[0-9a-f]+|[0-9]+)$/i.test(text)) {
    return findAddress(Number(text));
  }
  return text.includes('[') ? findPlace(text) : findText(text);
}

// --- A word

/** The fields' parts within the bits from `high` down to `low`. */
function partsOf(fields, high, low) {
  return fields.map(field => {
    const top = field.shift + 31 - Math.clz32(field.mask);
    return {field, high: Math.min(top, high), low: Math.max(field.shift, low)};
  }).filter(part => part.high >= part.low);
}

/** One line of bits, the highest first, with the fields drawn over them. */
function drawBits(svg, fields, high, low, y, bitWidth) {
  const xOf = bit => (high - bit) * bitWidth;
  for (let bit = high; bit >= low; --bit) {
    svg.append(make('svg:text', {class: 'number', x: xOf(bit) + bitWidth / 2, y: y + 11}, `${bit}`),
               make('svg:rect', {class: 'empty', x: xOf(bit), y: y + 15, width: bitWidth, height: 28}));
  }
  for (const part of partsOf(fields, high, low)) {
    const width = part.high - part.low + 1;
    const x = xOf(part.high);
    const fits = part.field.path.length * 7.4 + 8 <= width * bitWidth;
    svg.append(
      make('svg:rect', {class: part.field.colour, x, y: y + 15, width: width * bitWidth, height: 28},
           make('svg:title', {}, `${part.field.path}, bits ${part.field.bits}`)),
      ...Array.from({length: width - 1}, (unused, i) => make('svg:line', {
        class: 'tick', x1: x + (i + 1) * bitWidth, x2: x + (i + 1) * bitWidth, y1: y + 39, y2: y + 43})),
      make('svg:text', {class: fits ? 'label' : 'letter', x: x + width * bitWidth / 2, y: y + 33},
           fits ? part.field.path : part.field.letter));
  }
}

/** The 32 bits of a word, in two lines on a narrow screen. */
function drawWord(member, fields) {
  const bitWidth = narrow.matches ? 22 : 26;
  const lines = narrow.matches ? 2 : 1;
  const each = 32 / lines;
  const letters = Array(32).fill('.');
  for (const field of fields) {
    const width = 32 - Math.clz32(field.mask);
    letters.fill(field.letter, 32 - field.shift - width, 32 - field.shift);
  }
  const svg = make('svg:svg', {
    class: 'word', viewBox: `-1 0 ${each * bitWidth + 2} ${lines * 48 - 2}`, role: 'img',
    'aria-label': `Bits of ${member.name}: ` + fields.map(field => `${field.path} ${field.bits}`).join(', '),
    'data-letters': letters.join('')});
  for (let line = 0; line < lines; ++line) {
    const high = 31 - line * each;
    drawBits(svg, fields, high, high - each + 1, line * 48, bitWidth);
  }
  return svg;
}

/** The number in a text; NaN if there is none or if it is above `most`. */
function numberOf(text, most) {
  const number = /^\s*(0x[0-9a-f]+|[0-9]+)\s*$/i.test(text) ? Number(text) : NaN;
  return number <= most ? number : NaN;
}

/** An input for a number: calls `take` with each valid number, and marks invalid input. */
function numberInput(label, most, take) {
  const input = make('input', {'aria-label': label, class: 'number', autocomplete: 'off',
                               spellcheck: 'false', placeholder: '0x…',
                               title: `At most ${hex(most)}; decimal, or 0x and hexadecimal`});
  input.addEventListener('input', () => {
    const number = numberOf(input.value, most);
    const isGood = !Number.isNaN(number);
    input.setAttribute('aria-invalid', String(!isGood && input.value.trim() !== ''));
    if (isGood) {
      take(number);
    }
  });
  return input;
}

/** Inputs for a word and its fields, each of which updates the others. */
function decoder(member, fields) {
  let value = 0;
  const show = (input, number) => {
    input.value = hex(number);
    input.setAttribute('aria-invalid', 'false');
  };
  const fieldOf = field => (value >>> field.shift & field.mask) >>> 0;
  const word = numberInput(`Value of ${member.name}`, 0xffffffff, number => {
    value = number;
    inputs.forEach((input, i) => show(input, fieldOf(fields[i])));
  });
  const inputs = fields.map((field, i) =>
    numberInput(`Value of ${field.path}`, field.mask, number => {
      value = (value & ~(field.mask << field.shift) | number << field.shift) >>> 0;
      show(word, value);
      inputs.forEach((input, k) => k === i || show(input, fieldOf(fields[k])));
    }));
  return {word, inputs};
}

/** The table of the fields, with access and reset if the data sheet states them for one. */
function legendOf(fields, inputs) {
  const texts = [
    ['Letter', field => field.letter], ['Field', field => field.path], ['Bits', field => field.bits],
    ['Mask', field => hex(field.mask)], ['Shift', field => `${field.shift}`],
    ['Access', field => field.access || ''],
    ['Reset', field => field.reset === undefined ? '' : hex(field.reset)],
  ].filter(([, text], i) => i < 5 || fields.some(field => text(field) !== ''));
  const legend = table([...texts.map(([heading]) => heading), 'Value'], fields.map((field, i) =>
    make('tr', {}, texts.map(([, text]) => make('td', {class: 'mono'}, text(field))),
         make('td', {}, inputs[i]))));
  legend.className = 'fields';
  return legend;
}

// --- A group

function choice(count, chosen, label, change) {
  const select = make('select', {'aria-label': label}, Array.from({length: count}, (unused, i) =>
    make('option', i === chosen ? {value: i, selected: ''} : {value: i}, `[${i}]`)));
  select.addEventListener('change', () => change(Number(select.value)));
  return select;
}

/** Every element of a member in every instance of its group, listed when first opened. */
function allAddresses(group, member) {
  if (group.count * member.count === 1) {
    return null;
  }
  const places = make('div', {class: 'addresses mono'});
  const details = make('details', {},
                       make('summary', {}, `All ${group.count * member.count} addresses`), places);
  details.addEventListener('toggle', () => {
    const all = [];
    for (let i = 0; i < group.count; ++i) {
      for (let j = 0; j < member.count; ++j) {
        all.push(make('span', {}, `[${i}]${index(member.count, j)} ` +
                                  hex(addressOf(group, member, i, j))));
      }
    }
    places.replaceChildren(...all);
  }, {once: true});
  return details;
}

function about(text) {
  return text ? make('p', {class: 'about'}, text) : null;
}

/** A card for a member of the place's group, and a function that shows its current addresses. */
function memberCard(place, member) {
  const {group} = place;
  const at = make('span', {class: 'at'});
  const isHere = place.member === member;
  let element = isHere ? place.element : 0;
  const show = () => {
    const address = addressOf(group, member, place.instance, element);
    const last = member.memory ? ` to ${hex(address + 4 * (member.words - 1))}` : '';
    const word = isHere && place.word !== undefined && element === place.element
      ? `, word ${place.word} at ${hex(address + 4 * place.word)}` : '';
    at.textContent = hex(address) + last + word;
  };
  const choose = chosen => {
    element = chosen;
    settle({...place, member, element, word: undefined, field: undefined});
    show();
  };
  const fields = fieldsOf(member);
  const {word, inputs} = decoder(member, fields);
  const card = make('section', {id: member.name, class: isHere ? 'here' : ''},
    make('h2', {}, make('span', {}, member.name + (member.count > 1 ? ' ' : ''),
      member.count > 1 ? choice(member.count, element, `Element of ${member.name}`, choose) : ''),
      make('span', {class: 'kind'}, member.memory ? `memory, ${member.words} words` : 'register',
           member.count > 1 ? ` ×${member.count}, ${hex(member.step)} apart` : ''),
      at),
    about(member.about), drawWord(member, fields),
    make('label', {class: 'decode'}, 'Word ', word), legendOf(fields, inputs),
    allAddresses(group, member));
  show();
  return {card, show};
}

function showPlace(place) {
  const {group} = place;
  const cards = group.members.map(member => memberCard(place, member));
  const base = make('code');
  const move = i => {
    place.instance = i;
    base.textContent = hex(group.address + i * group.step);
    cards.forEach(card => card.show());
  };
  const instance = group.count > 1
    ? [choice(group.count, place.instance, 'Instance', i => {
        move(i);
        settle(place);
      }), ` of ${group.count} instances, ${hex(group.step)} apart, at `]
    : ['At '];
  move(place.instance);
  content.replaceChildren(
    make('h1', {class: 'mono'}, pathOf(group)), ...[about(group.about)].filter(Boolean),
    make('p', {class: 'about'}, ...instance, base),
    ...cards.map(card => card.card),
    ...(cards.length ? [] : [make('p', {class: 'about'}, 'Has no registers and no memories.')]));
  const here = content.querySelector('section.here');
  if (here) {
    here.scrollIntoView();
  } else {
    window.scrollTo(0, 0);
  }
}

// --- Search results and overview

/** Shows what was found, or the error. */
function showSearch(text) {
  let found = [];
  let error = null;
  try {
    found = find(text);
  } catch (problem) {
    error = problem;
  }
  const rows = found.map(one => {
    const cells = [one.kind, one.path, hex(one.address), one.bits];
    return make('tr', {'data-text': cells.join(' ').trim()}, make('td', {}, cells[0]),
      make('td', {class: 'mono'}, make('a', {href: '#' + one.link}, cells[1]), about(one.about)),
      cells.slice(2).map(cell => make('td', {class: 'mono'}, cell)));
  });
  content.replaceChildren(
    make('h1', {}, `Search for “${text}”`),
    make('p', {class: 'about', role: 'status'}, error ? error.message : found.length ? `${found.length} found` : 'Nothing found'),
    ...(found.length ? [table(['Kind', 'Path', 'Address', 'Bits'], rows)] : []));
  window.scrollTo(0, 0);
}

/** Shows the groups, below the error in the requested path, if there is one. */
function showOverview(problem) {
  const rows = data.groups.map(group => make('tr', {},
    make('td', {class: 'mono'}, make('a', {href: '#' + pathOf(group)}, pathOf(group)), about(group.about)),
    [hex(group.address), group.count > 1 ? `×${group.count}` : '',
     group.count > 1 ? hex(group.step) : '', `${group.members.length || ''}`]
      .map(cell => make('td', {class: 'mono'}, cell))));
  const groupTable = table(['Group', 'Address', 'Instances', 'Step', 'Members'], rows);
  groupTable.className = 'overview';
  content.replaceChildren(
    ...(problem ? [make('p', {class: 'problem', role: 'alert'}, problem)] : []),
    make('h1', {}, `Address map ${data.design}`),
    make('p', {class: 'about'}, `${data.designs.length > 1 ? 'Designs' : 'Design'} ${data.designs.join(' and ')}. Addresses are bytes `,
         'from the base of the card’s address space. ', make('a', {href: '#list'}, 'Every object as text')),
    groupTable);
}

// --- Routing

/** The part of the page's address after #: a path, "list", or "?" and a search. */
const route = () => decodeURIComponent(location.hash.slice(1));

/** Updates the page's address, its title and the links to the other designs. */
function settle(place) {
  history.replaceState(null, '', '#' + textOf(place));
  follow(textOf(place));
}

/** Updates the title, the links to the other designs, which lead to the same place, and the groups. */
function follow(text) {
  const isPlain = text === '' || text === 'list';
  document.title = (isPlain ? '' : text.replace(/^\?/, 'Search: ') + ' - ') +
                   `${data.design} - register atlas`;
  const hash = text.startsWith('?') ? '#?' + encodeURIComponent(text.slice(1)) : text && '#' + text;
  for (const {link, page} of navigation) {
    link.setAttribute('href', page + hash);
  }
  const here = '#' + text.split('.').slice(0, 2).join('.').replace(/\[.*/, '');
  for (const link of groups.querySelectorAll('a')) {
    const isHere = link.getAttribute('href') === here;
    link.classList.toggle('here', isHere);
    if (isHere) {
      link.scrollIntoView({block: 'nearest'});
    }
  }
}

function showPath(path) {
  let place;
  try {
    place = resolve(path);
  } catch (problem) {
    showOverview(problem.message);
    return path;
  }
  showPlace(place);
  return textOf(place);
}

function show() {
  let text = route();
  if (text.startsWith('?') && text.length > 1) {
    if (search.value !== text.slice(1)) {
      search.value = text.slice(1);
    }
    showSearch(text.slice(1).trim());
  } else if (text === 'list') {
    content.replaceChildren(make('pre', {id: 'list', tabindex: '0'}, list()));
  } else if (text === '') {
    showOverview();
  } else {
    text = showPath(text);
  }
  follow(text);
}

function fillGroups() {
  let domain = '';
  for (const group of data.groups) {
    if (group.domain !== domain) {
      domain = group.domain;
      groups.append(make('h2', {}, domain));
    }
    groups.append(make('a', {href: '#' + pathOf(group), title: group.about || pathOf(group)},
      make('span', {}, group.name + range(group.count)), make('span', {}, hex(group.address))));
  }
}

/** Where a search began, for the return when it is emptied. */
let before = '#';

// The first letter of a search adds a history entry, so that Back returns to the page before it;
// further letters replace that entry.
search.addEventListener('input', () => {
  const isSearch = route().startsWith('?');
  const isWanted = search.value.trim() !== '';
  if (!isSearch) {
    before = location.hash || '#';
  }
  const hash = isWanted ? '#?' + encodeURIComponent(search.value) : before;
  history[isSearch || !isWanted ? 'replaceState' : 'pushState'](null, '', hash);
  show();
});
window.addEventListener('hashchange', () => {
  if (!route().startsWith('?')) {
    search.value = '';
  }
  show();
});
narrow.addEventListener('change', show);
fillGroups();
show();
