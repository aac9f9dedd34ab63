heading "leveldbenv: a LevelDB database on files that zukel reads and writes"
show leveldbenv towns put Bergen 60.39N
show leveldbenv towns put Lisboa 38.72N
show leveldbenv towns get Bergen
echo "$ getent services | leveldbenv services load | wc -l"
getent services | leveldbenv services load | wc -l
echo "$ leveldbenv services list | head -n 3"
leveldbenv services list | head -n 3 || true
show ls services
