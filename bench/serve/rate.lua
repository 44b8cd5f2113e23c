-- wrk: each connection asks once a second.
function delay()
   return 1000
end
