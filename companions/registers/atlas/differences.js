const names = data.maps.map(map => map.design);

/** What only repeats the column before it steps back. */
function cell(value, i, values) {
  const kind = value === 'absent' || value === values[i - 1] ? 'dim' : '';
  return make('td', {class: 'mono ' + kind}, value);
}

function row(difference) {
  const isGroup = difference.path.split('.').length === 2;
  return make('tr', {class: isGroup ? 'group' : 'part',
                     'data-text': [difference.path, ...difference.values].join('|')},
              make('td', {class: 'mono'}, difference.path),
              difference.values.map(cell));
}

function show() {
  const wanted = search.value.trim().toLowerCase();
  const shown = data.differences.filter(one => one.path.toLowerCase().includes(wanted));
  content.replaceChildren(
    make('h1', {}, 'The three address maps'),
    make('p', {class: 'about'}, 'Five designs share them. Each page can be searched by name and by address.'),
    make('div', {class: 'cards'}, data.maps.map(map => make('a', {href: map.design + '.html'},
      make('strong', {}, map.design), make('span', {}, `Designs: ${map.designs.join(', ')}`),
      make('span', {}, `${map.groupTypes} groups in ${map.groups} instances`),
      make('span', {}, `${map.members} registers and memories, ${map.fields} fields`)))),
    make('h1', {}, 'How they differ'),
    make('p', {class: 'about'}, `${shown.length} differences. A group is told by its address, ` +
         'how often it stands and how far apart; bits and members by their own. All else is the same.'),
    table(['Path', ...names], shown.map(row)));
}

search.placeholder = 'Narrow the differences by name';
search.addEventListener('input', show);
show();
