const names = data.maps.map(map => map.design);

/** A value is a link to its design's page; it is dimmed if it repeats the previous column. */
function cell(path, value, i, values) {
  const isThere = value !== '' && value !== 'absent';
  const kind = !isThere || value === values[i - 1] ? 'dim' : '';
  return make('td', {class: 'mono ' + kind},
              isThere ? make('a', {href: `${names[i]}.html#${path}`}, value) : value);
}

function row({path, values}) {
  const isGroup = path.split('.').length === 2;
  const home = names[values.findIndex(value => value !== '' && value !== 'absent')];
  return make('tr', {class: isGroup ? 'group' : 'part', 'data-text': [path, ...values].join('|')},
              make('td', {class: 'mono'}, make('a', {href: `${home}.html#${path}`}, path)),
              values.map((value, i) => cell(path, value, i, values)));
}

function show() {
  const wanted = search.value.trim().toLowerCase();
  const shown = data.differences.filter(one => one.path.toLowerCase().includes(wanted));
  content.replaceChildren(
    make('h1', {}, 'The three address maps'),
    make('p', {class: 'about'}, 'Five designs share them. Each map has a page, with a search by name, description ' +
         'and address.'),
    make('div', {class: 'cards'}, data.maps.map(map => make('a', {href: map.design + '.html'},
      make('strong', {}, map.design), make('span', {}, `Designs: ${map.designs.join(', ')}`),
      make('span', {}, `${map.groupTypes} groups in ${map.groups} instances`),
      make('span', {}, `${map.members} registers and memories, ${map.fields} fields`)))),
    make('h1', {}, 'Differences'),
    make('p', {class: 'about'}, `${shown.length} shown. A group is shown by address, count and step, ` +
         'a register or memory by offset, count and step, a field by its bits. Everything else is the same.'),
    table(['Path', ...names], shown.map(row)));
}

search.placeholder = 'Filter the differences by name';
search.addEventListener('input', show);
show();
