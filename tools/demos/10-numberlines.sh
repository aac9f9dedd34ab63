heading "numberlines: a copy of a text file with its lines numbered"
show numberlines /usr/share/common-licenses/GPL-3 numbered.txt
show head -n 6 numbered.txt
