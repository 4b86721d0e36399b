// What the editor shows for a word of a script, from data.json: no part of this needs the editor.
'use strict';

/** Whether a word of the script is matched by an alias; a final "&" of it matches any tail. */
function matches(alias, word) {
  const upper = word.toUpperCase();
  if (!alias.endsWith('&')) return alias.toUpperCase() === upper;
  return upper.startsWith(alias.slice(0, -1).toUpperCase());
}

const place = (context) =>
  context === 'any' ? 'anywhere' : context === 'script' ? 'top level' : `in ${context.replace('&', '')}`;

function keywordLines(data, word) {
  return data.keywords
    .filter((key) => key.aliases.some((alias) => matches(alias, word)))
    .map((key) => {
      const usage = [key.aliases[0].replace('&', ''), key.follows].filter(Boolean).join(' ');
      return `**${usage}** (${place(key.context)})  \n${key.text}  \nAliases: \`${key.aliases.join('` `')}\``;
    });
}

function columnLines(data, word) {
  return data.columns
    .filter((column) => column.keywords.some((alias) => matches(alias, word)))
    .map((column) => `Column of ${column.table}: **${column.title}**` + (column.units ? `, ${column.units}` : ''));
}

function unitLines(data, word) {
  return Object.keys(data.units)
    .filter((unit) => unit.toUpperCase() === word.toUpperCase())
    .map((unit) => `Unit **${unit}**: ${data.units[unit].join(', ')}`);
}

function substanceLines(data, word) {
  return data.substances
    .filter((substance) => substance.aliases.some((alias) => alias.toUpperCase() === word.toUpperCase()))
    .map((substance) => `Library substance **${substance.name}**`);
}

/** Markdown for a word, or null if it is nothing that the language knows. */
function describe(data, word) {
  const lines = [keywordLines, columnLines, unitLines, substanceLines].flatMap((find) => find(data, word));
  return lines.length > 0 ? lines.join('\n\n') : null;
}

module.exports = { matches, describe };
