'use strict';

const vscode = require('vscode');
const data = require('./data.json');
const { describe } = require('./hover.js');

function activate(context) {
  const provideHover = (document, position) => {
    const range = document.getWordRangeAtPosition(position);
    if (!range) return null;
    const text = describe(data, document.getText(range));
    return text ? new vscode.Hover(new vscode.MarkdownString(text), range) : null;
  };
  context.subscriptions.push(vscode.languages.registerHoverProvider('kestrane', { provideHover }));
}

module.exports = { activate };
