heading "machinereport: user, processor, memory and disks of this machine"
show machinereport

heading "counterboard: several processes count on one board in shared memory"
show counterboard 4 1000000
