const groups = document.getElementById('groups');

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

/** Unfolds what repeats: one entry for each element of each field. */
function fieldsOf(member) {
  return member.fields.flatMap(field => Array.from({length: field.count}, (unused, k) => ({
    name: field.name, element: k, path: field.name + index(field.count, k), bits: bitsOf(field, k),
    mask: field.mask, shift: field.shift + k * field.step,
    letter: '',
  }))).map((field, i) =>
    ({...field, letter: 'abcdefghijklmnopqrstuvwxyzABCDEF'[i], colour: 'c' + i % 6}));
}

/** Calls for each group instance and each element of its members, as they are constructed. */
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

function findName(text) {
  const wanted = text.toLowerCase();
  const found = [];
  const look = (kind, name, shown, address, bits) => {
    const at = name.toLowerCase().lastIndexOf(wanted);
    if (at >= 0 && at + wanted.length > name.lastIndexOf('.') + 1) {
      found.push({kind, link: name.split('.').slice(0, 3).join('.'), path: shown, address, bits});
    }
  };
  for (const group of data.groups) {
    const name = pathOf(group);
    const shown = name + range(group.count);
    look('group', name, shown, group.address, '');
    for (const member of group.members) {
      const address = addressOf(group, member, 0, 0);
      const memberName = `${name}.${member.name}`;
      const memberShown = `${shown}.${member.name}${range(member.count)}`;
      look(kindOf(member), memberName, memberShown, address, '');
      for (const field of member.fields) {
        look('field', `${memberName}.${field.name}`,
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
      found.push({kind: 'field', link: path, path: `${path}.${field.path}`, address,
                  bits: field.bits});
    }
  });
  return found;
}

const BIT = 26;

/** The 32 bits of a word, the highest first, with the fields laid over them. */
function drawWord(fields) {
  const letters = Array(32).fill('.');
  const svg = make('svg:svg', {class: 'word', viewBox: '-1 0 834 46', role: 'img'});
  for (let bit = 0; bit < 32; ++bit) {
    const x = (31 - bit) * BIT;
    svg.append(make('svg:text', {class: 'number', x: x + BIT / 2, y: 10}, `${bit}`),
               make('svg:rect', {class: 'empty', x, y: 15, width: BIT, height: 28}));
  }
  for (const field of fields) {
    const width = 32 - Math.clz32(field.mask);
    const x = (32 - field.shift - width) * BIT;
    const fits = field.path.length * 6.8 + 8 <= width * BIT;
    letters.fill(field.letter, 32 - field.shift - width, 32 - field.shift);
    svg.append(
      make('svg:rect', {class: field.colour, x, y: 15, width: width * BIT, height: 28},
           make('svg:title', {}, `${field.path}, bits ${field.bits}`)),
      ...Array.from({length: width - 1}, (unused, i) => make('svg:line', {
        class: 'tick', x1: x + (i + 1) * BIT, x2: x + (i + 1) * BIT, y1: 39, y2: 43})),
      make('svg:text', {class: fits ? 'label' : 'letter', x: x + width * BIT / 2, y: 33},
           fits ? field.path : field.letter));
  }
  svg.setAttribute('data-letters', letters.join(''));
  return svg;
}

function choice(count, chosen, label, change) {
  const select = make('select', {'aria-label': label}, Array.from({length: count}, (unused, i) =>
    make('option', i === chosen ? {value: i, selected: ''} : {value: i}, `[${i}]`)));
  select.addEventListener('change', () => change(Number(select.value)));
  return select;
}

/** Every element of a member in every instance of its group, made when it is asked for. */
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

/** A member of a group's instance; returns the card and a call that moves it to an instance. */
function memberCard(group, member, place) {
  const at = make('span', {class: 'at'});
  const here = place.member === member.name;
  let {instance} = place;
  let element = here ? place.element : 0;
  const show = () => {
    const address = addressOf(group, member, instance, element);
    const last = member.memory ? ` to ${hex(address + 4 * (member.words - 1))}` : '';
    const word = here && place.word !== undefined && element === place.element
      ? `, word ${place.word} at ${hex(address + 4 * place.word)}` : '';
    at.textContent = hex(address) + last + word;
  };
  const fields = fieldsOf(member);
  const rows = fields.map(field => make('tr', {}, [field.letter, field.path, field.bits,
    hex(field.mask), `${field.shift}`].map(text => make('td', {class: 'mono'}, text))));
  const legend = table(['', 'Field', 'Bits', 'Mask', 'Shift'], rows);
  legend.className = 'fields';
  const card = make('section', {id: member.name, class: here ? 'here' : ''},
    make('h2', {}, make('span', {}, member.name + (member.count > 1 ? ' ' : ''),
      member.count > 1 ? choice(member.count, element, 'Element', chosen => {
        element = chosen;
        show();
      }) : ''),
      make('span', {class: 'kind'}, member.memory ? `memory, ${member.words} words` : 'register',
           member.count > 1 ? ` ×${member.count}, ${hex(member.step)} apart` : ''),
      at),
    drawWord(fields), legend, allAddresses(group, member));
  show();
  return {card, move: chosen => { instance = chosen; show(); }};
}

function showGroup(group, place) {
  const cards = group.members.map(member => memberCard(group, member, place));
  const base = make('code');
  const move = i => {
    base.textContent = hex(group.address + i * group.step);
    cards.forEach(card => card.move(i));
  };
  const instance = group.count > 1
    ? [choice(group.count, place.instance, 'Instance', move),
       ` of ${group.count} instances, ${hex(group.step)} apart, at `]
    : ['At '];
  move(place.instance);
  content.replaceChildren(
    make('h1', {class: 'mono'}, pathOf(group)), make('p', {class: 'about'}, ...instance, base),
    ...cards.map(card => card.card),
    ...(cards.length ? [] : [make('p', {class: 'about'}, 'Has no registers and no memories.')]));
  const here = content.querySelector('section.here');
  if (here) {
    here.scrollIntoView();
  } else {
    window.scrollTo(0, 0);
  }
}

function showSearch(text) {
  const isAddress = /^(0x[0-9a-f]+|[0-9]+)$/i.test(text);
  const found = isAddress ? findAddress(Number(text)) : findName(text);
  const rows = found.map(one => {
    const cells = [one.kind, one.path, hex(one.address), one.bits];
    return make('tr', {'data-text': cells.join(' ').trim()}, make('td', {}, cells[0]),
      make('td', {class: 'mono'}, make('a', {href: '#' + one.link}, cells[1])),
      cells.slice(2).map(cell => make('td', {class: 'mono'}, cell)));
  });
  content.replaceChildren(
    make('h1', {}, isAddress ? `At ${text}` : `Names with “${text}”`),
    make('p', {class: 'about'}, found.length ? `${found.length} found` : 'Nothing found'),
    ...(found.length ? [table(['Kind', 'Path', 'Address', 'Bits'], rows)] : []));
  window.scrollTo(0, 0);
}

function showOverview() {
  const rows = data.groups.map(group => make('tr', {},
    make('td', {class: 'mono'}, make('a', {href: '#' + pathOf(group)}, pathOf(group))),
    [hex(group.address), group.count > 1 ? `×${group.count}` : '',
     group.count > 1 ? hex(group.step) : '', `${group.members.length || ''}`]
      .map(cell => make('td', {class: 'mono'}, cell))));
  content.replaceChildren(
    make('h1', {}, `Address map ${data.design}`),
    make('p', {class: 'about'}, `${data.designs.length > 1 ? 'Designs' : 'Design'} ${data.designs.join(' and ')}. Addresses are bytes `,
         'from the base of the card’s address space. ', make('a', {href: '#list'}, 'Every object as text')),
    table(['Group', 'Address', 'Instances', 'Apart', 'Members'], rows));
}

/** "sbuf.shelf_status[0].shelf_status_spi_values[5]"; what isn't there leads to the overview. */
function showPath(path) {
  const steps = path.split('.').map(step => step.split(/[[\]]+/));
  const group = steps.length > 1 &&
    data.groups.find(one => one.domain === steps[0][0] && one.name === steps[1][0]);
  if (!group) {
    showOverview();
    return;
  }
  const place = {instance: Number(steps[1][1] || 0)};
  const member = steps.length > 2 && group.members.find(one => one.name === steps[2][0]);
  if (member) {
    const indices = steps[2].slice(1).filter(text => text !== '').map(Number);
    place.member = member.name;
    place.element = member.count > 1 ? indices.shift() || 0 : 0;
    place.word = indices.pop();
  }
  showGroup(group, place);
}

/** The address after # says what is shown: a path, "list", or "?" and what is searched. */
function show() {
  const route = decodeURIComponent(location.hash.slice(1));
  if (route.startsWith('?') && route.length > 1) {
    if (search.value !== route.slice(1)) {
      search.value = route.slice(1);
    }
    showSearch(route.slice(1));
  } else if (route === 'list') {
    content.replaceChildren(make('pre', {id: 'list'}, list()));
  } else {
    showPath(route);
  }
  const here = '#' + route.split('.').slice(0, 2).join('.').replace(/\[.*/, '');
  for (const link of groups.querySelectorAll('a')) {
    link.classList.toggle('here', link.getAttribute('href') === here);
  }
}

function fillGroups() {
  let domain = '';
  for (const group of data.groups) {
    if (group.domain !== domain) {
      domain = group.domain;
      groups.append(make('h2', {}, domain));
    }
    groups.append(make('a', {href: '#' + pathOf(group), title: pathOf(group)},
      make('span', {}, group.name + range(group.count)), make('span', {}, hex(group.address))));
  }
}

search.addEventListener('input', () => {
  const wanted = search.value.trim();
  history.replaceState(null, '', wanted ? '#?' + encodeURIComponent(wanted) : '#');
  show();
});
window.addEventListener('hashchange', show);
fillGroups();
show();
