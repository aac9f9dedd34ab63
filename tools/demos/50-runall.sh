heading "runall: commands side by side, each with its output in a file of its own"
show runall sleep 0.3 -- ls /usr/share/common-licenses -- uname -sm
show tail -n 3 2-ls.txt 3-uname.txt
