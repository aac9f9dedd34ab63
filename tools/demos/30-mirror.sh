heading "mirror: a real tree copied, and nothing left to do the second time"
echo "$ mirror /usr/include/linux headers"
mirror /usr/include/linux headers | tail -n 3
show mirror /usr/include/linux headers
show diff -r /usr/include/linux headers && echo "no difference"
