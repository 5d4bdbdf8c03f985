[install]
Dir dest - - DEST Where
[remove]
YN keep - - KEEP Keep the data
