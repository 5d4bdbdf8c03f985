[upgrade]
Error  installed  NOTHERE  There is no $(product) to upgrade.
