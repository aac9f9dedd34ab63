heading "fileinfo: the parts of names and the facts about files"
touch "Übersicht 2024.tar.gz" "日本語.txt"
ln -s /etc/hostname link
show fileinfo '~' /etc/passwd /bin /usr/bin/passwd /dev/null *

heading "wayto: the way from one directory to another"
show wayto /usr/lib /usr/share/doc
show wayto '~' /usr
