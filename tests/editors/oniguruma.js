// Reads a list of lines (JSON) from standard input and prints, for each character of each, the name of
// its innermost scope by the grammar named. Exit status 77 if the libraries are not installed.
'use strict';
const fs = require('fs');

let textmate, oniguruma, wasm;
try {
  textmate = require('vscode-textmate');
  oniguruma = require('vscode-oniguruma');
  wasm = fs.readFileSync(require.resolve('vscode-oniguruma/release/onig.wasm'));
} catch (missing) {
  process.exit(77);
}

async function main() {
  await oniguruma.loadWASM(wasm.buffer.slice(wasm.byteOffset, wasm.byteOffset + wasm.byteLength));
  const registry = new textmate.Registry({
    onigLib: Promise.resolve({
      createOnigScanner: (patterns) => new oniguruma.OnigScanner(patterns),
      createOnigString: (text) => new oniguruma.OnigString(text),
    }),
    loadGrammar: async () => textmate.parseRawGrammar(fs.readFileSync(process.argv[2], 'utf8'), 'grammar.json'),
  });
  const grammar = await registry.loadGrammar('source.kestrane');
  const names = JSON.parse(fs.readFileSync(0, 'utf8')).map((line) => {
    const result = new Array(line.length).fill('.');
    for (const token of grammar.tokenizeLine(line, textmate.INITIAL).tokens)
      if (token.scopes.length > 1) result.fill(token.scopes[token.scopes.length - 1], token.startIndex, token.endIndex);
    return result;
  });
  console.log(JSON.stringify(names));
}

main().catch((error) => {
  console.error(error);
  process.exit(1);
});
