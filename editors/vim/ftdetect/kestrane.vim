" Made by tools/editor-data. Files .dat are many things: a script describes a fluid.
autocmd BufNewFile,BufRead *.dat
  \ if match(getline(1, 500), '\c\v^\s*%(CHAR[^ \t!"$&''(),:;<=>@[\\\]^`{|}]*|PROP[^ \t!"$&''(),:;<=>@[\\\]^`{|}]*)[^ \t!"$&''(),:;<=>@[\\\]^`{|}]@!') >= 0 |
  \   setfiletype kestrane |
  \ endif
