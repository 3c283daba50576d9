file1=http://small/
FILE1=http://capital/
