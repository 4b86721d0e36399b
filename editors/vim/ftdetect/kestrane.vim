" Made by tools/editor-data. Files .dat are many things: a script describes a fluid.
autocmd BufNewFile,BufRead *.dat
  \ if search('\c\v^\s*%(CHAR[^ \t!"$&''(),:;<=>@[\\\]^`{|}]*|PROP[^ \t!"$&''(),:;<=>@[\\\]^`{|}]*)[^ \t!"$&''(),:;<=>@[\\\]^`{|}]@!', 'nw', 500) |
  \   setfiletype kestrane |
  \ endif
